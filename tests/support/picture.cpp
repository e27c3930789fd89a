#include "tests/support/picture.h"

#include <png.h>
// jpeglib.h needs FILE and size_t before it.
#include <cstdio>
extern "C" {
#include <jpeglib.h>
}

#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace vantro::test {
namespace {

Picture ReadJpeg(FILE* file) {
  jpeg_decompress_struct decoder{};
  jpeg_error_mgr errors;
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_stdio_src(&decoder, file);
  jpeg_save_markers(&decoder, JPEG_APP0 + 1, 0xFFFF);
  jpeg_save_markers(&decoder, JPEG_APP0 + 2, 0xFFFF);
  jpeg_read_header(&decoder, TRUE);
  jpeg_start_decompress(&decoder);
  Picture picture(static_cast<int>(decoder.output_width), static_cast<int>(decoder.output_height),
                  decoder.output_components);
  picture.sampling = {decoder.comp_info[0].h_samp_factor, decoder.comp_info[0].v_samp_factor};
  for (int y = 0; y < picture.height; ++y) {
    JSAMPROW row = picture.at(0, y);
    jpeg_read_scanlines(&decoder, &row, 1);
  }
  JOCTET* profile = nullptr;
  unsigned size = 0;
  if (jpeg_read_icc_profile(&decoder, &profile, &size)) picture.icc.assign(profile, profile + size);
  std::free(profile);
  for (const auto* marker = decoder.marker_list; marker != nullptr; marker = marker->next) {
    if (marker->marker != JPEG_APP0 + 1) continue;
    picture.exif.assign(marker->data + 6, marker->data + marker->data_length);  // after "Exif"
  }
  jpeg_finish_decompress(&decoder);
  jpeg_destroy_decompress(&decoder);
  return picture;
}

Picture ReadPng(FILE* file) {
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file);
  png_read_png(png, info, PNG_TRANSFORM_EXPAND, nullptr);
  Picture picture(static_cast<int>(png_get_image_width(png, info)),
                  static_cast<int>(png_get_image_height(png, info)), png_get_channels(png, info));
  for (int y = 0; y < picture.height; ++y) {
    std::memcpy(picture.at(0, y), png_get_rows(png, info)[y], png_get_rowbytes(png, info));
  }
  png_charp name = nullptr;
  int method = 0;
  png_bytep bytes = nullptr;
  png_uint_32 size = 0;
  if (png_get_iCCP(png, info, &name, &method, &bytes, &size)) {
    picture.icc.assign(bytes, bytes + size);
  }
  if (png_get_eXIf_1(png, info, &size, &bytes)) picture.exif.assign(bytes, bytes + size);
  png_get_gAMA_fixed(png, info, &picture.gamma);
  png_destroy_read_struct(&png, &info, nullptr);
  return picture;
}

}  // namespace

Picture ReadPicture(const std::string& path) {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) throw std::runtime_error(path + " is missing (sample media? run scripts/fetch-media)");
  const int first = std::getc(file.get());
  std::rewind(file.get());
  return first == 0xFF ? ReadJpeg(file.get()) : ReadPng(file.get());
}

}  // namespace vantro::test
