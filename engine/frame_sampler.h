// Brings a part of a camera frame to the size and colour of the network's input.
#ifndef VANTRO_ENGINE_FRAME_SAMPLER_H_
#define VANTRO_ENGINE_FRAME_SAMPLER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantro::engine {

// A picture of the caller's, in one of the formats of vantro.h.
struct FrameView {
  const uint8_t* data = nullptr;
  int format = 0;
  int width = 0;
  int height = 0;
  int stride = 0;

  // True if the sampler can read it: a known format, 2 to 65536 pixels each way.
  bool valid() const;
};

// A part of a frame in pixels; it may reach over the frame's edges.
struct Region {
  float left = 0;
  float top = 0;
  float width = 0;
  float height = 0;

  bool operator==(const Region&) const = default;
};

// Each sample is the mean of the pixels under it, so that a large frame is reduced without
// aliasing; where samples lie closer than pixels, the neighbours are interpolated linearly. Outside
// the frame the pixels of its edge go on. Rows are summed as they stand in the frame, in integers;
// only the samples are converted to RGB.
class FrameSampler {
 public:
  FrameSampler(int rows, int columns) : rows_(rows), columns_(columns) {}

  // The most pixels of a region that may fall to one sample, each way.
  static constexpr int kMostReduction = 256;

  // Writes rows * columns * 3 floats in 0..1. The frame is valid(), the region is not empty and
  // has at most kMostReduction pixels a sample each way.
  // Allocates only when the frame's geometry or the region differ from the call before.
  void Sample(const FrameView& frame, const Region& region, float* rgb);

  // The pixels of one line under one sample. Those between the first and the last weigh 1.
  struct Span {
    int first;
    int last;
    float first_weight;
    float last_weight;
    float length;  // sum of all weights
    bool beyond;   // the sample lies outside the frame
  };

 private:
  void Prepare(const FrameView& frame, const Region& region);

  int rows_;
  int columns_;
  FrameView frame_;  // what the spans below were made for
  Region region_;
  std::vector<Span> luma_rows_;
  std::vector<Span> luma_columns_;
  std::vector<Span> chroma_rows_;
  std::vector<Span> chroma_columns_;
  std::vector<uint16_t> luma_sums_;  // weighted sums of the columns of some rows
  std::vector<uint16_t> chroma_sums_;
};

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_FRAME_SAMPLER_H_
