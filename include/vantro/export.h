/* Symbol visibility of the library's exported names; usable from C. */
#ifndef VANTRO_EXPORT_H_
#define VANTRO_EXPORT_H_

/* The library is built with hidden visibility; only what carries this mark is exported. */
#define VANTRO_API __attribute__((visibility("default")))

#endif /* VANTRO_EXPORT_H_ */
