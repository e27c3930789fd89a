#include "engine/engine.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "engine/mask_writer.h"
#include "engine/model_store.h"

namespace vantro::engine {
namespace {

constexpr size_t kMaskBytes = static_cast<size_t>(kMaskSide) * kMaskSide;
// Sides of the network's picture.
constexpr size_t kSmallestInput = 128;
constexpr size_t kLargestInput = 1024;
constexpr float kMostSqueeze = 4.0f / 3;
// The close look takes in this much more than the crop box, so that it can find what the first
// look missed.
constexpr float kRefineScale = 1.2f;
// It is worth the while if it covers at most this much of the first look's area: then the person
// is seen in finer samples.
constexpr float kRefineShare = 0.7f;

float Proportion(const Network& network) {
  return static_cast<float>(network.columns()) / static_cast<float>(network.rows());
}

// The smallest region around the frame that the network's input squeezes by no more than
// kMostSqueeze. A frame of 4:3 fills a square input; people in wider ones are recognised better if
// they are not squeezed further, even though a part of the input shows nothing then.
Region AroundFrame(const FrameView& frame, const Network& network) {
  const float proportion = Proportion(network);
  const auto frame_width = static_cast<float>(frame.width);
  const auto frame_height = static_cast<float>(frame.height);
  const float width = std::max(frame_width, frame_height * proportion / kMostSqueeze);
  const float height = std::max(frame_height, frame_width / proportion / kMostSqueeze);
  return {(frame_width - width) / 2, (frame_height - height) / 2, width, height};
}

// The region for a closer look at the crop box: wider, in the network's proportions, and moved into
// the frame where it fits.
Region AroundCrop(const CROP_BOX& crop, const FrameView& frame, const Network& network) {
  const float proportion = Proportion(network);
  const auto crop_width = static_cast<float>(crop.crop_right - crop.crop_left + 1);
  const auto crop_height = static_cast<float>(crop.crop_bottom - crop.crop_top + 1);
  const float width = kRefineScale * std::max(crop_width, crop_height * proportion);
  const float height = width / proportion;
  const auto place = [](float middle, float length, float limit) {
    if (length >= limit) return (limit - length) / 2;
    return std::clamp(middle - length / 2, 0.0f, limit - length);
  };
  return {place(static_cast<float>(crop.crop_left) + crop_width / 2, width,
                static_cast<float>(frame.width)),
          place(static_cast<float>(crop.crop_top) + crop_height / 2, height,
                static_cast<float>(frame.height)),
          width, height};
}

// No region above has more pixels a sample than the frame would have, squeezed to the network's
// picture.
bool CanReduce(const FrameView& frame, const Network& network) {
  return frame.width <= FrameSampler::kMostReduction * network.columns() &&
         frame.height <= FrameSampler::kMostReduction * network.rows();
}

bool SameGeometry(const FrameView& a, const FrameView& b) {
  return a.format == b.format && a.width == b.width && a.height == b.height;
}

}  // namespace

std::unique_ptr<Engine> Engine::Create(const char* model_dir, Purpose purpose, std::string* error) {
  std::optional<ModelGraph> graph = LoadModel(model_dir, error);
  if (!graph) return nullptr;
  const Tensor& input = graph->tensors[graph->input];
  const auto fits = [](size_t side) {
    return side >= kSmallestInput && side <= kLargestInput && side % kCellSide == 0;
  };
  if (!fits(input.rows()) || !fits(input.columns())) {
    *error = "the model's picture is of a size that this engine does not serve";
    return nullptr;
  }
  std::unique_ptr<Network> network = Network::Create(std::move(*graph), error);
  if (!network) return nullptr;
  return std::unique_ptr<Engine>(new Engine(std::move(network), purpose));
}

Engine::Engine(std::unique_ptr<Network> network, Purpose purpose)
    : network_(std::move(network)),
      purpose_(purpose),
      sampler_(network_->rows(), network_->columns()),
      filter_(network_->rows(), network_->columns()),
      finder_(network_->rows(), network_->columns()) {}

bool Engine::RunNetwork(const FrameView& frame, const Region& region) {
  sampler_.Sample(frame, region, network_->input());
  return network_->Run();
}

void Engine::ForgetVideo() {
  filter_.Reset();
  follower_.Reset();
}

void Engine::WriteNobody(const FrameView& frame, const Segmentation& result) const {
  SetWholeFrame(frame.width, frame.height, result.person_box);
  SetWholeFrame(frame.width, frame.height, result.crop_box);
  std::memset(result.mask, 0, kMaskBytes);
}

bool Engine::SegmentFrame(const FrameView& frame, const Segmentation& result) {
  may_refine_ = false;
  if (!CanReduce(frame, *network_)) return false;
  if (!SameGeometry(frame, last_frame_)) ForgetVideo();
  const Region region = AroundFrame(frame, *network_);
  if (!RunNetwork(frame, region)) return false;
  const float* probabilities = network_->output();
  if (purpose_ == Purpose::kVideo) {
    probabilities = filter_.Apply(network_->input(), probabilities);
    if (filter_.scene_began()) follower_.Reset();
  }
  const ProbabilityMap map{probabilities, network_->rows(), network_->columns(), region};
  const std::optional<Bounds> person = finder_.Find(map, frame.width, frame.height);

  last_frame_ = frame;
  may_refine_ = true;
  person_found_ = person.has_value();
  if (!person) {
    follower_.Reset();
    WriteNobody(frame, result);
    return true;
  }
  SetTightBox(*person, frame.width, frame.height, result.person_box);
  if (purpose_ == Purpose::kVideo) {
    follower_.Follow(*person, frame.width, frame.height, result.crop_box);
  } else {
    SetCropBox(*person, frame.width, frame.height, result.crop_box);
  }
  found_crop_ = *result.crop_box;
  WriteMask(map, found_crop_, result.mask);
  return true;
}

bool Engine::RefineFrame(const FrameView& frame, const Segmentation& result) {
  const bool looked = may_refine_ && SameGeometry(frame, last_frame_) &&
                      frame.data == last_frame_.data && frame.stride == last_frame_.stride;
  if (!looked && !SegmentFrame(frame, result)) return false;
  may_refine_ = false;
  if (!person_found_) return true;
  const Region region = AroundCrop(found_crop_, frame, *network_);
  const Region whole = AroundFrame(frame, *network_);
  if (region.width * region.height > kRefineShare * whole.width * whole.height) return true;
  if (!RunNetwork(frame, region)) return false;
  const ProbabilityMap map{network_->output(), network_->rows(), network_->columns(), region};
  const std::optional<Bounds> person = finder_.Find(map, frame.width, frame.height);
  if (!person) return true;
  SetTightBox(*person, frame.width, frame.height, result.person_box);
  SetCropBox(*person, frame.width, frame.height, result.crop_box);
  WriteMask(map, *result.crop_box, result.mask);
  return true;
}

}  // namespace vantro::engine
