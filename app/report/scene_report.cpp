#include "app/report/scene_report.h"

#include <algorithm>
#include <cstdio>
#include <utility>

extern "C" {
#include <libavutil/base64.h>
}

#include "app/photo/colour.h"
#include "app/photo/photo_file.h"
#include "app/report/json_writer.h"
#include "report_page.h"

namespace vantro::app {
namespace {

constexpr int kThumbnailSide = 200;
constexpr size_t kMostThumbnails = 120;

// As the page takes them.
enum Subject { kNone = 0, kTooSmall = 1, kFound = 2 };
Subject SubjectOf(const FrameFacts& facts) {
  if (facts.call.subject) return kFound;
  return facts.call.flag == 0 ? kTooSmall : kNone;
}
bool IsColoured(const FrameFacts& facts) { return facts.call.flag == 3; }

bool AnyFlagDiffers(const FrameFacts& a, const FrameFacts& b) {
  return SubjectOf(a) != SubjectOf(b) || IsColoured(a) != IsColoured(b) || a.flash != b.flash ||
         a.motion != b.motion;
}

std::string Base64(const Bytes& bytes) {
  std::string text(AV_BASE64_SIZE(bytes.size()), '\0');
  av_base64_encode(text.data(), static_cast<int>(text.size()), bytes.data(),
                   static_cast<int>(bytes.size()));
  text.pop_back();  // the terminating zero
  return text;
}

Bytes JpegOf(const Picture& picture) {
  Photo photo;
  photo.raster = Raster(picture.width(), picture.height(), false, 0, 0);
  for (int y = 0; y < picture.height(); ++y) StorePixels(picture.row(y), 3, y, photo.raster);
  return EncodePhoto(std::move(photo), PhotoKind::kJpeg, [](const std::string&) {});
}

}  // namespace

SceneReport::SceneReport(const FrameShape& shape, const ColourInfo& colour, AVRational pixel_shape)
    : shape_(shape), thumbnails_(shape, colour, pixel_shape, kThumbnailSide, kThumbnailSide) {}

void SceneReport::AddBefore(double seconds, const uint8_t* picture) {
  before_.push_back({seconds, meter_.Measure(shape_, picture), {}});
}

void SceneReport::AddAfter(const uint8_t* picture, const FrameFacts& facts) {
  frames_.push_back(before_.front());
  before_.pop_front();
  frames_.back().facts = facts;
  const size_t count = frames_.size();
  if (count == 1 || AnyFlagDiffers(facts, frames_[count - 2].facts)) KeepThumbnail(picture);
}

void SceneReport::KeepThumbnail(const uint8_t* picture) {
  if (change_count_++ % change_step_ != 0) return;
  if (changes_.size() == kMostThumbnails) {
    change_step_ *= 2;
    size_t number = 0;
    std::erase_if(changes_, [&number](const Change&) { return number++ % 2 != 0; });
    if ((change_count_ - 1) % change_step_ != 0) return;
  }
  changes_.push_back({frames_.size() - 1, Base64(JpegOf(thumbnails_.Make(picture)))});
}

std::string SceneReport::Data(const std::string& source) const {
  JsonWriter json;
  const auto list = [&](const char* name, int decimals, const auto& value) {
    json.StartList(name);
    for (const Frame& frame : frames_) json.Item(static_cast<double>(value(frame)), decimals);
    json.EndList();
  };
  const double pixels = static_cast<double>(shape_.width) * shape_.height;
  json.Text("source", source);
  json.Text("format", shape_.format.name);
  json.Number("width", shape_.width);
  json.Number("height", shape_.height);
  json.Number("motionThreshold", MotionMeter::kThreshold);
  json.Number("changes", static_cast<double>(change_count_));
  list("time", 3, [](const Frame& f) { return f.seconds; });
  list("subject", 0, [](const Frame& f) { return static_cast<int>(SubjectOf(f.facts)); });
  list("coloured", 0, [](const Frame& f) { return IsColoured(f.facts) ? 1 : 0; });
  list("checked", 0, [](const Frame& f) { return f.facts.checked ? 1 : 0; });
  list("flash", 0, [](const Frame& f) { return f.facts.flash; });
  list("motion", 0, [](const Frame& f) { return f.facts.motion; });
  list("motionSum", 0, [](const Frame& f) { return f.motion_sum; });
  list("area", 2, [&](const Frame& f) { return 100 * f.facts.area / pixels; });
  list("wait", 3, [](const Frame& f) { return f.facts.call.wait; });
  list("roi", 3, [](const Frame& f) { return f.facts.call.roi; });
  list("filter", 3, [](const Frame& f) { return f.facts.call.filter; });
  list("flow", 3, [](const Frame& f) { return f.facts.call.flow; });
  list("render", 3, [](const Frame& f) { return f.facts.call.render; });
  list("total", 3, [](const Frame& f) { return f.facts.call.total; });
  json.StartList("thumbnailFrames");
  for (const Change& change : changes_) json.Item(static_cast<double>(change.frame), 0);
  json.EndList();
  json.StartList("thumbnails");
  for (const Change& change : changes_) json.Item(change.jpeg);
  json.EndList();
  return json.Finish();
}

std::string SceneReport::Page(const std::string& source) const {
  std::string page = kReportPage;
  const auto put = [&page](const std::string& mark, const std::string& text) {
    page.replace(page.find(mark), mark.size(), text);
  };
  put("{{SCRIPT}}", kReportScript);
  put("{{DATA}}", Data(source));
  return page;
}

}  // namespace vantro::app
