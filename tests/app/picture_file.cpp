#include "tests/app/picture_file.h"

#include <gtest/gtest.h>
#include <libheif/heif.h>
#include <png.h>
#include <webp/decode.h>
#include <webp/demux.h>
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

using FilePtr = std::unique_ptr<FILE, int (*)(FILE*)>;

constexpr std::string_view kExifMark("Exif\0\0", 6);

// libjpeg's and libpng's standard error handlers end the program, which fails the test.
TestPicture ReadJpeg(FILE* file) {
  jpeg_decompress_struct decoder{};
  jpeg_error_mgr errors;
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_stdio_src(&decoder, file);
  jpeg_save_markers(&decoder, JPEG_APP0 + 1, 0xFFFF);
  jpeg_save_markers(&decoder, JPEG_APP0 + 2, 0xFFFF);
  jpeg_read_header(&decoder, TRUE);
  jpeg_start_decompress(&decoder);
  TestPicture picture(static_cast<int>(decoder.output_width),
                      static_cast<int>(decoder.output_height), decoder.output_components);
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
    picture.exif.assign(marker->data + kExifMark.size(), marker->data + marker->data_length);
  }
  jpeg_finish_decompress(&decoder);
  jpeg_destroy_decompress(&decoder);
  return picture;
}

TestPicture ReadPng(FILE* file) {
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file);
  png_read_png(png, info, PNG_TRANSFORM_EXPAND, nullptr);
  TestPicture picture(static_cast<int>(png_get_image_width(png, info)),
                      static_cast<int>(png_get_image_height(png, info)),
                      png_get_channels(png, info));
  for (int y = 0; y < picture.height; ++y) {
    std::memcpy(picture.at(0, y), png_get_rows(png, info)[y], png_get_rowbytes(png, info));
  }
  png_charp name = nullptr;
  int method = 0;
  png_bytep bytes = nullptr;
  png_uint_32 size = 0;
  if (png_get_iCCP(png, info, &name, &method, &bytes, &size))
    picture.icc.assign(bytes, bytes + size);
  if (png_get_eXIf_1(png, info, &size, &bytes)) picture.exif.assign(bytes, bytes + size);
  png_get_gAMA_fixed(png, info, &picture.gamma);
  png_destroy_read_struct(&png, &info, nullptr);
  return picture;
}

TestPicture ReadWebp(const std::string& file) {
  const WebPData data{reinterpret_cast<const uint8_t*>(file.data()), file.size()};
  WebPBitstreamFeatures features;
  if (WebPGetFeatures(data.bytes, data.size, &features) != VP8_STATUS_OK) return {};
  TestPicture picture(features.width, features.height, features.has_alpha != 0 ? 4 : 3);
  const auto decode = features.has_alpha != 0 ? &WebPDecodeRGBAInto : &WebPDecodeRGBInto;
  decode(data.bytes, data.size, picture.samples.data(), picture.samples.size(),
         picture.width * picture.channels);
  WebPDemuxer* const demuxer = WebPDemux(&data);
  for (const auto& [name, bytes] : {std::pair("ICCP", &picture.icc), {"EXIF", &picture.exif}}) {
    WebPChunkIterator chunk;
    if (!WebPDemuxGetChunk(demuxer, name, 1, &chunk)) continue;
    bytes->assign(chunk.chunk.bytes, chunk.chunk.bytes + chunk.chunk.size);
    WebPDemuxReleaseChunkIterator(&chunk);
  }
  WebPDemuxDelete(demuxer);
  return picture;
}

// Places of values in the block that MakeExif makes.
constexpr size_t kOrientationAt = 18;
constexpr size_t kSecondLinkAt = 34;
constexpr size_t kWidthAt = 60;
constexpr size_t kHeightAt = 72;
constexpr uint32_t kNoteAt = 80;

void PutNumber(uint32_t value, size_t at, size_t count, bool big_endian, Bytes& bytes) {
  for (size_t i = 0; i < count; ++i) {
    bytes[at + i] = static_cast<uint8_t>(value >> (8 * (big_endian ? count - 1 - i : i)));
  }
}

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

Bytes MakeProfile(size_t size, bool grey) {
  // A header and one tag: enough for programs that only carry it along. The rest varies, since
  // libpng takes a profile that is packed into a few bytes for a broken one.
  Bytes profile(size);
  for (size_t i = 176; i < size; ++i) profile[i] = static_cast<uint8_t>(i * i >> 3);
  PutNumber(static_cast<uint32_t>(size), 0, 4, true, profile);
  const std::pair<size_t, std::string> parts[] = {
      {8, "\2"},
      {12, "mntr"},
      {16, grey ? "GRAY" : "RGB "},
      {20, "XYZ "},
      {36, "acsp"},
      {68, std::string("\x00\x00\xF6\xD6\x00\x01\x00\x00\x00\x00\xD3\x2D", 12)},
      {131, std::string("\1desc\0\0\0\x90\0\0\0\x20", 13)},
      {144, std::string("desc\0\0\0\0\0\0\0\x05test", 16)}};
  for (const auto& [at, text] : parts) std::memcpy(&profile[at], text.data(), text.size());
  return profile;
}

Bytes MakeExif(const ExifContent& content) {
  Bytes exif;
  const auto number = [&](uint32_t value, size_t count) {
    exif.resize(exif.size() + count);
    PutNumber(value, exif.size() - count, count, content.big_endian, exif);
  };
  const auto entry = [&](uint32_t tag, uint32_t type, uint32_t count, uint32_t value) {
    number(tag, 2);
    number(type, 2);
    number(count, 4);
    number(value, type == 3 ? 2 : 4);
    if (type == 3) number(0, 2);
  };
  const auto note_size = static_cast<uint32_t>(content.note.size());
  const uint32_t second_directory = kNoteAt + note_size;
  exif.assign(2, content.big_endian ? 'M' : 'I');
  number(42, 2);
  number(8, 4);
  number(2, 2);
  entry(0x0112, 3, 1, static_cast<uint32_t>(content.orientation));
  entry(0x8769, 4, 1, 38);
  number(second_directory, 4);
  number(3, 2);
  entry(0x927C, 7, note_size, kNoteAt);
  entry(0xA002, 4, 1, static_cast<uint32_t>(content.width));
  entry(0xA003, 3, 1, static_cast<uint32_t>(content.height));
  number(0, 4);
  exif.insert(exif.end(), content.note.begin(), content.note.end());
  number(2, 2);
  entry(0x0201, 4, 1, second_directory + 30);
  entry(0x0202, 4, 1, static_cast<uint32_t>(content.thumbnail.size()));
  number(0, 4);
  exif.insert(exif.end(), content.thumbnail.begin(), content.thumbnail.end());
  return exif;
}

Bytes UprightExif(const ExifContent& content, int width, int height) {
  Bytes exif = MakeExif(content);
  exif.resize(exif.size() - content.thumbnail.size());
  PutNumber(1, kOrientationAt, 2, content.big_endian, exif);
  PutNumber(0, kSecondLinkAt, 4, content.big_endian, exif);
  PutNumber(static_cast<uint32_t>(width), kWidthAt, 4, content.big_endian, exif);
  PutNumber(static_cast<uint32_t>(height), kHeightAt, 2, content.big_endian, exif);
  return exif;
}

void WriteTestJpeg(const std::string& path, const TestPicture& picture, bool progressive) {
  const FilePtr file(std::fopen(path.c_str(), "wb"), &std::fclose);
  jpeg_compress_struct encoder{};
  jpeg_error_mgr errors;
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  jpeg_stdio_dest(&encoder, file.get());
  encoder.image_width = static_cast<JDIMENSION>(picture.width);
  encoder.image_height = static_cast<JDIMENSION>(picture.height);
  encoder.input_components = picture.channels;
  constexpr J_COLOR_SPACE kSpaces[] = {JCS_GRAYSCALE, JCS_UNKNOWN, JCS_RGB, JCS_CMYK};
  encoder.in_color_space = kSpaces[picture.channels - 1];
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, 98, TRUE);
  encoder.comp_info[0].h_samp_factor = picture.sampling.first;
  encoder.comp_info[0].v_samp_factor = picture.sampling.second;
  if (progressive) jpeg_simple_progression(&encoder);
  jpeg_start_compress(&encoder, TRUE);
  if (!picture.exif.empty()) {
    Bytes marker(kExifMark.begin(), kExifMark.end());
    marker.insert(marker.end(), picture.exif.begin(), picture.exif.end());
    jpeg_write_marker(&encoder, JPEG_APP0 + 1, marker.data(), static_cast<unsigned>(marker.size()));
  }
  if (!picture.icc.empty()) {
    jpeg_write_icc_profile(&encoder, picture.icc.data(), static_cast<unsigned>(picture.icc.size()));
  }
  for (int y = 0; y < picture.height; ++y) {
    JSAMPROW row = const_cast<uint8_t*>(picture.at(0, y));
    jpeg_write_scanlines(&encoder, &row, 1);
  }
  jpeg_finish_compress(&encoder);
  jpeg_destroy_compress(&encoder);
}

void WriteTestPng(const std::string& path, const TestPicture& picture, bool interlaced) {
  const FilePtr file(std::fopen(path.c_str(), "wb"), &std::fclose);
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file.get());
  constexpr int kTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                            PNG_COLOR_TYPE_RGB_ALPHA};
  png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width),
               static_cast<png_uint_32>(picture.height), 8, kTypes[picture.channels - 1],
               interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (!picture.icc.empty()) {
    png_set_iCCP(png, info, "test", PNG_COMPRESSION_TYPE_BASE, picture.icc.data(),
                 static_cast<png_uint_32>(picture.icc.size()));
  }
  if (!picture.exif.empty()) {
    png_set_eXIf_1(png, info, static_cast<png_uint_32>(picture.exif.size()),
                   const_cast<uint8_t*>(picture.exif.data()));
  }
  if (picture.gamma > 0) png_set_gAMA_fixed(png, info, picture.gamma);
  png_write_info(png, info);
  std::vector<png_bytep> rows;
  for (int y = 0; y < picture.height; ++y) rows.push_back(const_cast<uint8_t*>(picture.at(0, y)));
  png_write_image(png, rows.data());
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
}

void WriteTestWebp(const std::string& path, const TestPicture& picture) {
  uint8_t* image = nullptr;
  const auto encode = picture.channels == 4 ? &WebPEncodeLosslessRGBA : &WebPEncodeLosslessRGB;
  const size_t size = encode(picture.samples.data(), picture.width, picture.height,
                             picture.width * picture.channels, &image);
  ASSERT_GT(size, 0u);
  WebPMux* mux = WebPMuxNew();
  const WebPData data{image, size};
  WebPMuxSetImage(mux, &data, 1);
  WebPFree(image);
  for (const auto& [name, bytes] : {std::pair("ICCP", &picture.icc), {"EXIF", &picture.exif}}) {
    const WebPData chunk{bytes->data(), bytes->size()};
    if (chunk.size > 0) WebPMuxSetChunk(mux, name, &chunk, 1);
  }
  WebPData file{};
  ASSERT_EQ(WebPMuxAssemble(mux, &file), WEBP_MUX_OK);
  WriteFile(path, std::string(file.bytes, file.bytes + file.size));
  WebPDataClear(&file);
  WebPMuxDelete(mux);
}

bool WriteTestHeic(const std::string& path, const TestPicture& picture) {
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
    if (!picture.icc.empty()) {
      heif_image_set_raw_color_profile(image, "prof", picture.icc.data(), picture.icc.size());
    }
    heif_image_handle* handle = nullptr;
    EXPECT_EQ(heif_context_encode_image(context, image, encoder, nullptr, &handle).code,
              heif_error_Ok);
    if (!picture.exif.empty()) {
      heif_context_add_exif_metadata(context, handle, picture.exif.data(),
                                     static_cast<int>(picture.exif.size()));
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
  const std::string bytes = ReadFile(path);
  const FilePtr file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (bytes.starts_with("\xFF\xD8")) return ReadJpeg(file.get());
  if (bytes.starts_with("\x89PNG")) return ReadPng(file.get());
  return ReadWebp(bytes);
}

}  // namespace vantro::test
