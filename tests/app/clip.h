// Small videos for the tests: planar frames in memory, raw files written by hand, other files
// written and read with the tools ffmpeg and ffprobe.
#ifndef VANTRO_TESTS_APP_CLIP_H_
#define VANTRO_TESTS_APP_CLIP_H_

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/picture.h"

namespace vantro::test {

// One planar frame of one colour; chroma at half width, and at half height for 4:2:0, rounded up.
struct PlanarFrame {
  PlanarFrame(int width, int height, bool half_height, std::array<uint8_t, 3> colour = {});
  std::pair<int, int> size() const { return luma.size(); }

  Picture luma, cb, cr;
};

// Frames of random samples; the same for the same arguments.
std::vector<PlanarFrame> NoiseFrames(int count, int width, int height, bool half_height = true);

// Raw files ("YUV4MPEG2"); `scan` is p for progressive, t or b for the field that comes first.
std::string RawVideo(const std::vector<PlanarFrame>& frames, char scan = 'p');
std::vector<PlanarFrame> ParseRawVideo(const std::string& file);

// Writes 4:2:0 frames losslessly, in the container that the ending of `path` names. Frame k is
// shown at times[k] milliseconds. `options` are ffmpeg's.
void WriteClip(const std::string& path, const std::vector<PlanarFrame>& frames,
               const std::vector<int>& times, const std::string& options = "");

struct StoredPacket {
  int64_t pts;  // in microseconds
  int64_t duration;
  std::string hash;  // of the content
  bool operator==(const StoredPacket&) const = default;
};
struct StoredVideo {
  std::string kind;                 // "h264,300,yuv420p,progressive": with the width
  int64_t length = 0;               // in microseconds
  std::vector<StoredPacket> video;  // in the order of their times
  std::vector<StoredPacket> audio;
};
StoredVideo ReadClip(const std::string& path);
std::vector<PlanarFrame> DecodeClip(const std::string& path);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_APP_CLIP_H_
