// Small videos for the tests: planar frames in memory, raw files written by hand, other files
// written and read with FFmpeg's libraries.
#ifndef VANTRO_TESTS_APP_CLIP_H_
#define VANTRO_TESTS_APP_CLIP_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vantro::test {

using Bytes = std::vector<uint8_t>;

// One planar frame: luma, then the two chroma planes, without gaps; chroma at half width, and at
// half height for 4:2:0, rounded up.
struct PlanarFrame {
  int width = 0;
  int height = 0;
  bool half_height_chroma = true;
  Bytes luma, cb, cr;

  int chroma_width() const { return (width + 1) / 2; }
  int chroma_height() const { return half_height_chroma ? (height + 1) / 2 : height; }
};

// A frame of random samples; the same for the same number.
PlanarFrame NoiseFrame(int width, int height, bool half_height_chroma, unsigned number);

// Raw files ("YUV4MPEG2").
std::string RawVideo(const std::vector<PlanarFrame>& frames);
std::vector<PlanarFrame> ParseRawVideo(const std::string& file);

// A packet as it lies in a file.
struct StoredPacket {
  int64_t pts;  // in microseconds
  int64_t duration;
  Bytes data;
  bool operator==(const StoredPacket&) const = default;
};

struct StoredVideo {
  std::string codec;
  std::string pixel_format;
  int width = 0;
  int height = 0;
  int64_t length = 0;                // of the video in microseconds, 0 when the file does not tell
  std::vector<StoredPacket> video;   // in the order of their times
  std::vector<StoredPacket> audio;   // empty without audio
  std::vector<PlanarFrame> decoded;  // 4:2:0 frames of the video
};

struct ClipSettings {
  // Frame k is shown at tick times[k] of 1/600 second.
  std::vector<int64_t> times;
  // Degrees by which a player turns the picture, clockwise.
  int rotation = 0;
  bool audio = false;
};

// Writes 4:2:0 frames losslessly (the samples come back as they are), in the container that the
// ending of `path` names.
void WriteClip(const std::string& path, const std::vector<PlanarFrame>& frames,
               const ClipSettings& settings);
// Reads a video of any kind; fails the test when it cannot.
StoredVideo ReadClip(const std::string& path);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_APP_CLIP_H_
