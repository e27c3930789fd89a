/* Compiles the headers that promise to be usable from C; holds the frame record to its layout. */
#include <stddef.h>

#include "vantro/bounded.h"
#include "vantro/segmentation_engine.h"
#include "vantro/thread.h"
#include "vantro/vantro.h"

#define AT(field, offset) _Static_assert(offsetof(Vantro_t, field) == (offset), #field " has moved")

AT(yuv, 0);
AT(last_yuv, 8);
AT(yuv_format, 16);
AT(height, 20);
AT(width, 24);
AT(stride, 28);
AT(rect, 40);
AT(crop_param, 64);
AT(mask, 88);
AT(maskh, 96);
AT(maskw, 100);
AT(reset_flag, 112);
AT(seg_param_a, 116);
AT(seg_param_b, 124);
AT(seg_output, 128);
_Static_assert(sizeof(Vantro_t) == 352, "the frame record has another size");
_Static_assert(sizeof(Rect_t) == 24 && offsetof(Rect_t, height) == 8, "Rect_t has changed");
_Static_assert(sizeof(CROP_BOX) == 20, "CROP_BOX has another size");
