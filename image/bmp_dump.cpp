#include "image/bmp_dump.h"

#include <sys/time.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>

#include "support/log.h"
#include "support/scratch.h"
#include "support/timing_line.h"
#include "vantro/bounded.h"
#include "vantro/diagnostics.h"
#include "vantro/image.h"

namespace vantro {
namespace {

constexpr int kHeaderBytes = 54;
constexpr char kSaveName[] = "save_bmp_file";
constexpr char kFrameDumpName[] = "save_nv12_or_nv21_UYVY_to_bmp_file";

enum PixelLayout : int { kInterleaved = 0, kPlanes = 1 };

struct Picture {
  const uint8_t* pixels;
  int width;
  int height;
  int channel;
  int type;
};

int64_t RowBytes(int width) { return (int64_t{width} * 3 + 3) / 4 * 4; }

bool IsUsable(const Picture& picture) {
  if (picture.type < kInterleaved || picture.type > kPlanes || picture.pixels == nullptr ||
      (picture.channel != 1 && picture.channel != 3) || picture.width < 1 || picture.height < 1) {
    return false;
  }
  // The header holds the size of the file in 32 bits.
  return RowBytes(picture.width) <=
         (std::numeric_limits<int32_t>::max() - kHeaderBytes) / int64_t{picture.height};
}

// "<path>MMDD_HHMMSS_mmm.bmp" in local time.
HeapBlock<char> StampedName(const char* path, const char* no_time_message) {
  timeval now = {};
  gettimeofday(&now, nullptr);
  tm local = {};
  if (localtime_r(&now.tv_sec, &local) == nullptr) {
    std::printf("%s", no_time_message);
    return nullptr;
  }
  const int milliseconds = static_cast<int>(now.tv_usec / 1000);
  char digits[20];
  sprintf_s(digits, sizeof(digits),
            milliseconds >= 100  ? "%d"
            : milliseconds >= 10 ? "0%d"
                                 : "00%d",
            milliseconds);
  char stamp[64];
  std::strftime(stamp, sizeof(stamp), "%m%d_%H%M%S_", &local);
  strcat_s(stamp, sizeof(stamp), digits);

  const size_t capacity = std::strlen(path) + sizeof(stamp) + sizeof(".bmp");
  HeapBlock<char> name = AllocFromHeap<char>(capacity);
  if (name != nullptr) {
    strcpy_s(name.get(), capacity, path);
    strcat_s(name.get(), capacity, stamp);
    strcat_s(name.get(), capacity, ".bmp");
  }
  return name;
}

void PutLittleEndian(uint8_t* field, uint32_t value) {
  for (int i = 0; i < 4; ++i) field[i] = static_cast<uint8_t>(value >> (8 * i));
}

bool WriteHeader(std::FILE* file, const Picture& picture) {
  const auto image_bytes = static_cast<uint32_t>(RowBytes(picture.width) * picture.height);
  uint8_t header[kHeaderBytes] = {'B', 'M'};
  PutLittleEndian(header + 2, kHeaderBytes + image_bytes);
  PutLittleEndian(header + 10, kHeaderBytes);
  PutLittleEndian(header + 14, 40);
  PutLittleEndian(header + 18, static_cast<uint32_t>(picture.width));
  PutLittleEndian(header + 22, static_cast<uint32_t>(picture.height));
  header[26] = 1;   // planes
  header[28] = 24;  // bits a pixel
  PutLittleEndian(header + 34, image_bytes);
  return std::fwrite(header, 1, sizeof(header), file) == sizeof(header);
}

// Pixel at `index`, counted row by row from the top, as blue, green, red.
void PutPixel(const Picture& picture, size_t index, uint8_t* bgr) {
  const size_t plane = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height);
  for (size_t c = 0; c < 3; ++c) {
    const size_t channel = 2 - c;
    size_t at = index;
    if (picture.channel == 3) {
      at = picture.type == kInterleaved ? index * 3 + channel : plane * channel + index;
    }
    bgr[c] = picture.pixels[at];
  }
}

bool WriteRow(std::FILE* file, const Picture& picture, int row) {
  constexpr int kChunkPixels = 1024;
  uint8_t chunk[kChunkPixels * 3];
  for (int column = 0; column < picture.width; column += kChunkPixels) {
    const int count = std::min(kChunkPixels, picture.width - column);
    for (int i = 0; i < count; ++i) {
      const size_t index = static_cast<size_t>(row) * static_cast<size_t>(picture.width) +
                           static_cast<size_t>(column + i);
      PutPixel(picture, index, chunk + 3 * i);
    }
    const size_t bytes = static_cast<size_t>(count) * 3;
    if (std::fwrite(chunk, 1, bytes, file) != bytes) return false;
  }
  const uint8_t fill[3] = {};
  const auto fill_bytes = static_cast<size_t>(RowBytes(picture.width) - int64_t{picture.width} * 3);
  return std::fwrite(fill, 1, fill_bytes, file) == fill_bytes;
}

int SaveBmp(const char* path, const Picture& picture, const char* no_time_message) {
  std::printf("%s, width=%d, height=%d, channel=%d, type=%d\n", kSaveName, picture.width,
              picture.height, picture.channel, picture.type);
  if (!IsUsable(picture)) {
    std::printf("%s %d: input error buf=%p, width=%d, height=%d, channel=%d, type=%d!\n", kSaveName,
                __LINE__, static_cast<const void*>(picture.pixels), picture.width, picture.height,
                picture.channel, picture.type);
    return -1;
  }
  const HeapBlock<char> name = StampedName(path, no_time_message);
  if (name == nullptr) return -1;
  std::FILE* file = std::fopen(name.get(), "wb");
  if (file == nullptr) {
    std::printf("save_bmp_image() create the bmp file error!");
    return -1;
  }
  bool written = WriteHeader(file, picture);
  for (int row = picture.height - 1; written && row >= 0; --row) {
    written = WriteRow(file, picture, row);
  }
  written = std::fclose(file) == 0 && written;
  return written ? 0 : -1;
}

uint8_t Limit(int value) { return static_cast<uint8_t>(std::clamp(value, 0, 262143) >> 10); }

// Studio-range conversion in 10-bit fixed point.
void PutStudioRange(int y, int u, int v, uint8_t* rgb) {
  const int luma = std::max(y - 16, 0) * 1192;
  rgb[0] = Limit(luma + 1634 * (v - 128));
  rgb[1] = Limit(luma - 833 * (v - 128) - 400 * (u - 128));
  rgb[2] = Limit(luma + 2066 * (u - 128));
}

// Pairs follow each other over the ends of odd rows. A pixel whose pair would lie behind the chroma
// plane takes its neighbour's; a frame of one row or column has none at all.
void SemiPlanarToRgb(const uint8_t* frame, size_t width, size_t height, bool u_first,
                     uint8_t* rgb) {
  const uint8_t* chroma = frame + width * height;
  const size_t chroma_bytes = height / 2 * width;
  for (size_t row = 0; row < height; ++row) {
    for (size_t column = 0; column < width; ++column, rgb += 3) {
      int first = 128;
      int second = 128;
      if (height >= 2 && width >= 2) {
        size_t pair = row / 2 * width + 2 * (column / 2);
        if (pair + 2 > chroma_bytes) {
          pair = (height / 2 - 1) * width + 2 * std::min(column / 2, width / 2 - 1);
        }
        first = chroma[pair];
        second = chroma[pair + 1];
      }
      PutStudioRange(frame[row * width + column], u_first ? first : second,
                     u_first ? second : first, rgb);
    }
  }
}

void PackedToRgb(const uint8_t* frame, size_t width, size_t height, uint8_t* rgb) {
  for (size_t row = 0; row < height; ++row) {
    const uint8_t* packed = frame + row * width * 2;
    for (size_t column = 0; column < width; ++column, rgb += 3) {
      uint8_t u = 128;
      uint8_t v = 128;
      if (width >= 2) {
        const uint8_t* group = packed + 4 * std::min(column / 2, width / 2 - 1);
        u = group[0];
        v = group[2];
      }
      const RGBCOLOR colour = yuvTorgb(packed[2 * column + 1], u, v);
      rgb[0] = static_cast<uint8_t>(colour.red);
      rgb[1] = static_cast<uint8_t>(colour.green);
      rgb[2] = static_cast<uint8_t>(colour.blue);
    }
  }
}

void SaveFrame(const char* path, const uint8_t* frame, int width, int height, int type) {
  const int64_t pixels = int64_t{width} * std::max(height, 0);
  HeapBlock<uint8_t> rgb;
  if (width >= 0 && pixels <= std::numeric_limits<int32_t>::max() / 3) {
    rgb = AllocFromHeap<uint8_t>(static_cast<uint64_t>(3 * pixels));
  }
  if (rgb == nullptr) {
    VANTRO_LOGD(kTagVideo, "%s rgb_buf alloc Failed!\n", kFrameDumpName);
    return;
  }
  const auto bytes = static_cast<size_t>(3 * pixels);
  memset_s(rgb.get(), bytes, 0, bytes);
  const auto columns = static_cast<size_t>(width);
  const auto rows = static_cast<size_t>(std::max(height, 0));
  const bool readable = frame != nullptr && bytes > 0;
  if (type == VANTRO_FORMAT_NV21 || type == VANTRO_FORMAT_NV12) {
    if (readable) SemiPlanarToRgb(frame, columns, rows, type == VANTRO_FORMAT_NV12, rgb.get());
  } else if (type == VANTRO_FORMAT_UYVY) {
    const Moment start = Now();
    if (readable) PackedToRgb(frame, columns, rows, rgb.get());
    WriteTimingLine("UYVYToRgb_1", start);
  } else {
    VANTRO_LOGD(kTagVideo, "%s type is %d, not support!\n", kFrameDumpName, type);
    return;
  }
  // A frame that could not be read is refused by the writer, with its line.
  SaveBmp(path, {readable ? rgb.get() : nullptr, width, height, 3, kInterleaved},
          "error,local is null");
}

}  // namespace

void DumpFrame(const char* path, const Vantro_t& frame) {
  SaveFrame(path, frame.yuv, frame.stride, frame.height, frame.yuv_format);
}

void DumpGrayImage(const char* path, const uint8_t* pixels, int width, int height) {
  SaveBmp(path, {pixels, width, height, 1, kInterleaved}, "local is null,error");
}

}  // namespace vantro

int save_bmp_file(std::string path, unsigned char* buf, int width, int height, int channel,
                  int type) {
  return vantro::SaveBmp(path.c_str(), {buf, width, height, channel, type}, "local is null,error");
}

void save_nv12_or_nv21_UYVY_to_bmp_file(std::string path, unsigned char* buf, int width, int height,
                                        int type) {
  vantro::SaveFrame(path.c_str(), buf, width, height, type);
}
