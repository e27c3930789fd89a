// Steadies the network's answers over the frames of a video.
#ifndef VANTRO_ENGINE_TEMPORAL_FILTER_H_
#define VANTRO_ENGINE_TEMPORAL_FILTER_H_

#include <vector>

namespace vantro::engine {

// Where the picture stands still, the probabilities follow slowly, so that the noise of the camera
// does not make edges shimmer; where it moves, they follow at once, so that nothing trails behind.
// When much of the picture changes from one frame to the next, a new scene has begun, and nothing
// of the old one is kept.
class TemporalFilter {
 public:
  TemporalFilter(int rows, int columns);

  // Takes the network's input (rows * columns * 3 floats) and output (rows * columns) for the next
  // frame. Returns the smoothed probabilities, valid until the next call. Allocates nothing.
  const float* Apply(const float* rgb, const float* probabilities);

  // True if the frame of the last Apply began a new scene.
  bool scene_began() const { return scene_began_; }

  // Forgets the frames so far.
  void Reset() { started_ = false; }

 private:
  void AverageCells(const float* rgb);
  // Writes each cell's largest change of a colour channel. Returns the share of changed cells.
  float MeasureMotion();
  void EstimateNoise();
  float MotionAround(int row, int column) const;

  int rows_;
  int columns_;
  int cell_rows_;
  int cell_columns_;
  std::vector<float> cells_;  // mean colour of the cells of this frame and the one before
  std::vector<float> last_cells_;
  std::vector<float> motion_;
  std::vector<float> sorted_;  // scratch
  std::vector<float> smoothed_;
  float noise_ = 0.0f;  // change of a cell in which nothing moves
  bool started_ = false;
  bool scene_began_ = false;
};

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_TEMPORAL_FILTER_H_
