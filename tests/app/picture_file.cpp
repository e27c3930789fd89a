#include "tests/app/picture_file.h"

#include <png.h>
#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <random>

extern "C" {
#include <jpeglib.h>
}

namespace vantro::test {
namespace {

using FilePtr = std::unique_ptr<FILE, int (*)(FILE*)>;

Picture ReadWebp(const std::string& file) {
  const WebPData data{reinterpret_cast<const uint8_t*>(file.data()), file.size()};
  WebPBitstreamFeatures features;
  EXPECT_EQ(WebPGetFeatures(data.bytes, data.size, &features), VP8_STATUS_OK);
  Picture picture(features.width, features.height, features.has_alpha != 0 ? 4 : 3);
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

void PutNumber(uint32_t value, size_t at, size_t count, bool big_endian, Bytes& bytes) {
  for (size_t i = 0; i < count; ++i) {
    bytes[at + i] = static_cast<uint8_t>(value >> (8 * (big_endian ? count - 1 - i : i)));
  }
}

}  // namespace

Picture NoisePicture(int width, int height, unsigned seed, int channels) {
  Picture picture(width, height, channels);
  std::minstd_rand random(seed + 1);
  for (uint8_t& sample : picture.samples) sample = static_cast<uint8_t>(random() >> 8);
  return picture;
}

Picture StoredLike(const Picture& upright, int orientation) {
  const bool lying = orientation >= 5;
  const int w = lying ? upright.height : upright.width;
  const int h = lying ? upright.width : upright.height;
  Picture stored(w, h, upright.channels);
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
  Bytes exif(2, content.big_endian ? 'M' : 'I');
  const auto number = [&](size_t value, size_t count) {
    exif.resize(exif.size() + count);
    PutNumber(static_cast<uint32_t>(value), exif.size() - count, count, content.big_endian, exif);
  };
  const auto entry = [&](uint32_t tag, uint32_t type, size_t count, size_t value) {
    number(tag, 2);
    number(type, 2);
    number(count, 4);
    number(value, type == 3 ? 2 : 4);
    if (type == 3) number(0, 2);
  };
  const std::string note("maker's private\0bytes", 21);
  constexpr size_t kNoteAt = 80;
  const size_t second_directory = kNoteAt + note.size();
  number(42, 2);
  number(8, 4);
  number(2, 2);
  entry(0x0112, 3, 1, static_cast<size_t>(content.orientation));
  entry(0x8769, 4, 1, 38);
  number(content.thumbnail ? second_directory : 0, 4);
  number(3, 2);
  entry(0x927C, 7, note.size(), kNoteAt);
  entry(0xA002, 4, 1, static_cast<size_t>(content.width));
  entry(0xA003, 3, 1, static_cast<size_t>(content.height));
  number(0, 4);
  exif.insert(exif.end(), note.begin(), note.end());
  number(2, 2);
  entry(0x0201, 4, 1, second_directory + 30);
  entry(0x0202, 4, 1, 9);
  number(0, 4);
  if (content.thumbnail) exif.insert(exif.end(), 9, 'T');
  return exif;
}

void WriteTestJpeg(const std::string& path, const Picture& picture, bool progressive) {
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
    Bytes marker = {'E', 'x', 'i', 'f', 0, 0};
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

void WriteTestPng(const std::string& path, const Picture& picture, bool interlaced) {
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

void WriteTestWebp(const std::string& path, const Picture& picture) {
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

Picture ReadPhoto(const std::string& path) {
  const std::string bytes = ReadFile(path);
  return bytes.starts_with("RIFF") ? ReadWebp(bytes) : ReadPicture(path);
}

Picture PhotoTest::Rendered(const std::string& input, const std::string& output,
                            const std::vector<std::string>& options) {
  std::vector<std::string> arguments = {Path(input), Path(output), "--overwrite"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  said_ = ExpectSuccess(Photo(arguments));
  return ReadPhoto(Path(output));
}

}  // namespace vantro::test
