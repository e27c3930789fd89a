// A host that keeps its own side of the contract and no more: exact buffers, and otherwise any
// record; with an engine that answers anything. Driven by a source of random numbers or by a
// fuzzer.
#ifndef VANTRO_TESTS_SUPPORT_HOSTILE_HOST_H_
#define VANTRO_TESTS_SUPPORT_HOSTILE_HOST_H_

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <tuple>
#include <utility>

#include "tests/scripted_engine/scripted_engine.h"
#include "vantro/vantro.h"

namespace vantro::test {

// Bytes of the picture that a record describes.
inline int64_t DescribedBytes(const Vantro_t& record) {
  const int64_t stride = std::max(record.stride, 0);
  const int64_t luma = stride * record.height;
  if (record.yuv_format == VANTRO_FORMAT_UYVY) return 2 * luma;
  const bool semi_planar =
      record.yuv_format == VANTRO_FORMAT_NV21 || record.yuv_format == VANTRO_FORMAT_NV12;
  return semi_planar ? luma + stride * (record.height / 2) : luma;
}

// The engine's answer depends on seg_param_a alone, so it needs nothing from the host's thread.
inline int32_t HostileSegment(const SegmentCall& call, int32_t mask_width, int32_t mask_height) {
  std::minstd_rand random(static_cast<uint32_t>(call.seg_param_a));
  const auto below = [&](int limit) {
    return static_cast<int>(random() % static_cast<uint32_t>(limit));
  };
  const auto bound = [&](int size) {
    const int extremes[] = {std::numeric_limits<int>::min(),
                            std::numeric_limits<int>::max(),
                            -1,
                            0,
                            1,
                            size - 1,
                            size,
                            static_cast<int>(random() - (1u << 30))};
    return below(4) == 0 ? extremes[below(8)] : below(size);
  };
  CROP_BOX* const boxes[] = {call.box, call.box_vantro};
  for (CROP_BOX* box : boxes) {
    if (below(4) == 0) continue;
    *box = {bound(call.height), bound(call.height), bound(call.width), bound(call.width), below(5)};
    if (below(4) != 0) {
      std::tie(box->crop_top, box->crop_bottom) = std::minmax({box->crop_top, box->crop_bottom});
      std::tie(box->crop_left, box->crop_right) = std::minmax({box->crop_left, box->crop_right});
    }
  }
  std::memset(call.seg_output, below(256), 220);
  const int kind = below(6);
  const int cell = 1 + below(12);
  for (int y = 0; y < mask_height && kind != 0; ++y) {
    for (int x = 0; x < mask_width; ++x) {
      uint8_t& pixel = call.mask_out[y * mask_width + x];
      if (kind <= 2) {
        pixel = static_cast<uint8_t>(below(kind == 1 ? 256 : 2));
      } else {  // blocks
        pixel = x % cell != 0   ? call.mask_out[y * mask_width + x - 1]
                : y % cell != 0 ? call.mask_out[(y - 1) * mask_width + x]
                                : static_cast<uint8_t>(below(kind - 1));
      }
    }
  }
  return below(8) == 0 ? -1 : 0;
}

// `Source` gives Int(low, high), both included.
template <typename Source>
class HostileHost {
 public:
  HostileHost(void* handle, bool photo, Source& source)
      : handle_(handle), photo_(photo), source_(source) {
    SetGeometry();
  }

  bool memory_may_fail = false;  // in the next step: the pool

  // One call of the handle's Process function. False if it answered what it must not.
  bool Step() {
    if (OneIn(6)) SetGeometry();
    Vantro_t record = geometry_;
    record.seg_param_a = source_.Int(1, 1 << 30);
    record.reset_flag = OneIn(15) ? source_.Int(-1, 2) : 0;
    record.rect = {
        Bound(record.width), Bound(record.height), Bound(record.height), Bound(record.width), 1, 2};
    record.crop_param = {Extreme(), Extreme(), Extreme(), Extreme(), Extreme()};
    record.mask = reinterpret_cast<uint8_t*>(8);
    record.maskw = record.maskh = Extreme();
    const bool giant = OneIn(60);
    if (giant) {  // more than any buffer: to be refused before a byte is touched
      constexpr int kMost = std::numeric_limits<int>::max();
      constexpr uint8_t kFormats[] = {VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY};
      record.yuv_format = kFormats[source_.Int(0, 2)];
      record.width = record.stride = source_.Int(1 << 20, kMost);
      record.height = source_.Int(1 << 12, kMost);
      record.reset_flag = 1;
    }
    const int64_t bytes = giant ? 16 : DescribedBytes(record);
    Buffer frame = NewBuffer(bytes);
    record.yuv = frame.data.get();
    // The buffer of the frame before; where a sequence begins, one of the frame's own size.
    Buffer fresh;
    Buffer* last = &previous_;
    if (!photo_ && (previous_.data == nullptr || bytes > previous_.bytes ||
                    record.reset_flag == 1 || OneIn(20))) {
      fresh = NewBuffer(std::max(bytes, previous_.bytes));
      last = &fresh;
    }
    record.last_yuv = photo_ ? nullptr : last->data.get();
    const bool refused = OneIn(40);
    if (refused) Spoil(record);

    const Vantro_t before = record;
    VantroResult result = {};
    const auto process = photo_ ? &VantroPhoto_Process : &Vantro_Process;
    const int32_t code = process(handle_, &record, OneIn(3) ? nullptr : &result);
    if (std::memcmp(&before, &record, sizeof(record)) != 0) return false;
    if (refused || (photo_ && giant)) return code == VANTRO_ERR_INPUT;
    if (photo_) return code == 0 || code == VANTRO_ERR_FAILED;
    previous_ = std::move(frame);
    // Where a sequence begins, rows may not run backwards and the pool may have no memory.
    if (code == VANTRO_ERR_FAILED) return giant || record.stride < 0 || memory_may_fail;
    return code == 0 && !giant;
  }

 private:
  struct Buffer {
    std::unique_ptr<uint8_t[]> data;
    int64_t bytes = 0;
  };

  bool OneIn(int n) { return source_.Int(1, n) == 1; }

  Buffer NewBuffer(int64_t bytes) {
    Buffer buffer = {std::make_unique<uint8_t[]>(static_cast<size_t>(std::max<int64_t>(bytes, 1))),
                     bytes};
    std::memset(buffer.data.get(), source_.Int(0, 255), static_cast<size_t>(bytes));
    return buffer;
  }

  int Extreme() {
    constexpr int kExtremes[] = {std::numeric_limits<int>::min(), -1, 0, 1,
                                 std::numeric_limits<int>::max()};
    return kExtremes[source_.Int(0, 4)];
  }
  int Bound(int size) { return OneIn(5) ? Extreme() : source_.Int(0, size); }

  void SetGeometry() {
    geometry_ = {};
    const int formats[] = {VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV21, VANTRO_FORMAT_UYVY,
                           VANTRO_FORMAT_NV12, source_.Int(0, 255)};
    geometry_.yuv_format = static_cast<uint8_t>(formats[source_.Int(0, 4)]);
    geometry_.width = source_.Int(2, OneIn(8) ? 300 : 70);
    geometry_.height = source_.Int(2, OneIn(8) ? 200 : 50);
    geometry_.stride = geometry_.width + (OneIn(3) ? source_.Int(0, 40) : 0);
    if (OneIn(12)) geometry_.stride = source_.Int(-5, geometry_.width);
  }

  void Spoil(Vantro_t& record) {
    const int field = source_.Int(0, 3);
    if (field == 0) record.yuv = nullptr;
    if (field == 1) record.last_yuv = photo_ ? record.yuv : nullptr;
    if (field == 2) record.width = source_.Int(-3, 1);
    if (field == 3) record.height = source_.Int(-3, 1);
  }

  void* handle_;
  bool photo_;
  Source& source_;
  Vantro_t geometry_ = {};
  Buffer previous_;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_HOSTILE_HOST_H_
