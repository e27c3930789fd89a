#include "tests/app/picture_file.h"

#include <gtest/gtest.h>
#include <libheif/heif.h>
#include <png.h>
#include <webp/decode.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

extern "C" {
#include <jpeglib.h>
}

#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

Bytes FileBytes(const std::string& path) {
  const std::string file = ReadFile(path);
  return {file.begin(), file.end()};
}

// libjpeg's standard error handler ends the program, which fails the test.
struct JpegFile {
  JpegFile(const std::string& path, const char* mode) : file(std::fopen(path.c_str(), mode)) {
    if (file == nullptr) std::abort();
  }
  ~JpegFile() { std::fclose(file); }
  FILE* file;
  jpeg_error_mgr errors;
};

}  // namespace

TestPicture StoredLike(const TestPicture& upright, int orientation) {
  const bool lying = orientation >= 5;
  const int w = lying ? upright.height : upright.width;
  const int h = lying ? upright.width : upright.height;
  TestPicture stored(w, h, upright.channels);
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      // Where the viewer shows the stored pixel, as the Exif standard puts it: which side of the
      // shown picture the stored first row and first column are.
      const int shown[8][2] = {{x, y}, {w - 1 - x, y}, {w - 1 - x, h - 1 - y}, {x, h - 1 - y},
                               {y, x}, {h - 1 - y, x}, {h - 1 - y, w - 1 - x}, {y, w - 1 - x}};
      const auto& place = shown[orientation - 1];
      std::memcpy(stored.at(x, y), upright.at(place[0], place[1]),
                  static_cast<size_t>(upright.channels));
    }
  }
  return stored;
}

void WriteTestJpeg(const std::string& path, const TestPicture& picture, const JpegKind& kind,
                   const PictureExtras& extras) {
  JpegFile out(path, "wb");
  jpeg_compress_struct encoder{};
  encoder.err = jpeg_std_error(&out.errors);
  jpeg_create_compress(&encoder);
  jpeg_stdio_dest(&encoder, out.file);
  encoder.image_width = static_cast<JDIMENSION>(picture.width);
  encoder.image_height = static_cast<JDIMENSION>(picture.height);
  encoder.input_components = picture.channels;
  encoder.in_color_space = kind.cmyk ? JCS_CMYK : picture.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, 98, TRUE);
  encoder.comp_info[0].h_samp_factor = kind.h;
  encoder.comp_info[0].v_samp_factor = kind.v;
  if (kind.progressive) jpeg_simple_progression(&encoder);
  jpeg_start_compress(&encoder, TRUE);
  if (!extras.exif.empty()) {
    Bytes marker = {'E', 'x', 'i', 'f', 0, 0};
    marker.insert(marker.end(), extras.exif.begin(), extras.exif.end());
    jpeg_write_marker(&encoder, JPEG_APP0 + 1, marker.data(), static_cast<unsigned>(marker.size()));
  }
  if (!extras.icc.empty()) {
    jpeg_write_icc_profile(&encoder, extras.icc.data(), static_cast<unsigned>(extras.icc.size()));
  }
  for (int y = 0; y < picture.height; ++y) {
    JSAMPROW row = const_cast<uint8_t*>(picture.at(0, y));
    jpeg_write_scanlines(&encoder, &row, 1);
  }
  jpeg_finish_compress(&encoder);
  jpeg_destroy_compress(&encoder);
}

void WriteTestPng(const std::string& path, const TestPicture& picture, const PictureExtras& extras,
                  bool interlaced) {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), &std::fclose);
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file.get());
  constexpr int kTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                            PNG_COLOR_TYPE_RGB_ALPHA};
  png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width),
               static_cast<png_uint_32>(picture.height), 8, kTypes[picture.channels - 1],
               interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (!extras.icc.empty()) {
    png_set_iCCP(png, info, "test", PNG_COMPRESSION_TYPE_BASE, extras.icc.data(),
                 static_cast<png_uint_32>(extras.icc.size()));
  }
  if (!extras.exif.empty()) {
    png_set_eXIf_1(png, info, static_cast<png_uint_32>(extras.exif.size()),
                   const_cast<uint8_t*>(extras.exif.data()));
  }
  png_write_info(png, info);
  std::vector<png_bytep> rows;
  for (int y = 0; y < picture.height; ++y) rows.push_back(const_cast<uint8_t*>(picture.at(0, y)));
  png_write_image(png, rows.data());
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
}

void WriteTestWebp(const std::string& path, const TestPicture& picture,
                   const PictureExtras& extras) {
  uint8_t* image = nullptr;
  const auto encode = picture.channels == 4 ? &WebPEncodeLosslessRGBA : &WebPEncodeLosslessRGB;
  const size_t size = encode(picture.samples.data(), picture.width, picture.height,
                             picture.width * picture.channels, &image);
  ASSERT_GT(size, 0u);
  WebPMux* mux = WebPMuxNew();
  const WebPData data{image, size};
  WebPMuxSetImage(mux, &data, 1);
  WebPFree(image);
  for (const auto& [name, bytes] : {std::pair("ICCP", &extras.icc), {"EXIF", &extras.exif}}) {
    const WebPData chunk{bytes->data(), bytes->size()};
    if (chunk.size > 0) WebPMuxSetChunk(mux, name, &chunk, 1);
  }
  WebPData file{};
  ASSERT_EQ(WebPMuxAssemble(mux, &file), WEBP_MUX_OK);
  WriteFile(path, std::string(file.bytes, file.bytes + file.size));
  WebPDataClear(&file);
  WebPMuxDelete(mux);
}

bool WriteTestHeic(const std::string& path, const TestPicture& picture,
                   const PictureExtras& extras) {
  heif_context* context = heif_context_alloc();
  heif_encoder* encoder = nullptr;
  const bool has_encoder =
      heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder).code ==
      heif_error_Ok;
  if (has_encoder) {
    heif_encoder_set_lossy_quality(encoder, 95);
    heif_image* image = nullptr;
    heif_image_create(picture.width, picture.height, heif_colorspace_RGB,
                      heif_chroma_interleaved_RGB, &image);
    heif_image_add_plane(image, heif_channel_interleaved, picture.width, picture.height, 8);
    int pitch = 0;
    uint8_t* rows = heif_image_get_plane(image, heif_channel_interleaved, &pitch);
    for (int y = 0; y < picture.height; ++y) {
      std::memcpy(rows + static_cast<ptrdiff_t>(y) * pitch, picture.at(0, y),
                  static_cast<size_t>(picture.width) * 3);
    }
    if (!extras.icc.empty()) {
      heif_image_set_raw_color_profile(image, "prof", extras.icc.data(), extras.icc.size());
    }
    heif_image_handle* handle = nullptr;
    EXPECT_EQ(heif_context_encode_image(context, image, encoder, nullptr, &handle).code,
              heif_error_Ok);
    if (!extras.exif.empty()) {
      heif_context_add_exif_metadata(context, handle, extras.exif.data(),
                                     static_cast<int>(extras.exif.size()));
    }
    EXPECT_EQ(heif_context_write_to_file(context, path.c_str()).code, heif_error_Ok);
    heif_image_handle_release(handle);
    heif_image_release(image);
    heif_encoder_release(encoder);
  }
  heif_context_free(context);
  return has_encoder;
}

TestPicture ReadPicture(const std::string& path) {
  const Bytes file = FileBytes(path);
  if (file.size() < 12) return {};
  if (file[0] == 0xFF) {
    JpegFile in(path, "rb");
    jpeg_decompress_struct decoder{};
    decoder.err = jpeg_std_error(&in.errors);
    jpeg_create_decompress(&decoder);
    jpeg_stdio_src(&decoder, in.file);
    jpeg_read_header(&decoder, TRUE);
    jpeg_start_decompress(&decoder);
    TestPicture picture(static_cast<int>(decoder.output_width),
                        static_cast<int>(decoder.output_height), decoder.output_components);
    for (int y = 0; y < picture.height; ++y) {
      JSAMPROW row = picture.at(0, y);
      jpeg_read_scanlines(&decoder, &row, 1);
    }
    jpeg_finish_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
    return picture;
  }
  if (file[0] == 0x89) {
    // The simple interface tells the file's own channels, and converts nothing when asked for them.
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0) return {};
    image.format &= PNG_FORMAT_FLAG_COLOR | PNG_FORMAT_FLAG_ALPHA;
    TestPicture picture(static_cast<int>(image.width), static_cast<int>(image.height),
                        static_cast<int>(PNG_IMAGE_SAMPLE_CHANNELS(image.format)));
    png_image_finish_read(&image, nullptr, picture.samples.data(), 0, nullptr);
    return picture;
  }
  WebPBitstreamFeatures features;
  if (WebPGetFeatures(file.data(), file.size(), &features) != VP8_STATUS_OK) return {};
  TestPicture picture(features.width, features.height, features.has_alpha != 0 ? 4 : 3);
  const auto decode = features.has_alpha != 0 ? &WebPDecodeRGBAInto : &WebPDecodeRGBInto;
  decode(file.data(), file.size(), picture.samples.data(), picture.samples.size(),
         picture.width * picture.channels);
  return picture;
}

}  // namespace vantro::test
