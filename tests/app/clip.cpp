#include "tests/app/clip.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <sstream>

#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

// What a command of the shell prints.
std::string OutputOf(const std::string& command) {
  FILE* const pipe = popen(command.c_str(), "r");
  std::string output = ReadAll(pipe);
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

// 0 for "N/A".
int64_t Microseconds(const std::string& seconds) {
  return std::llround(std::atof(seconds.c_str()) * 1e6);
}

}  // namespace

PlanarFrame::PlanarFrame(int width, int height, bool half_height, std::array<uint8_t, 3> colour)
    : luma(width, height, 1),
      cb((width + 1) / 2, half_height ? (height + 1) / 2 : height, 1),
      cr(cb) {
  std::ranges::fill(luma.samples, colour[0]);
  std::ranges::fill(cb.samples, colour[1]);
  std::ranges::fill(cr.samples, colour[2]);
}

std::vector<PlanarFrame> NoiseFrames(int count, int width, int height, bool half_height) {
  std::vector<PlanarFrame> frames;
  std::mt19937 random(1);
  for (int i = 0; i < count; ++i) {
    PlanarFrame& frame = frames.emplace_back(width, height, half_height);
    for (Picture* plane : {&frame.luma, &frame.cb, &frame.cr}) {
      for (uint8_t& sample : plane->samples) sample = static_cast<uint8_t>(random() >> 8);
    }
  }
  return frames;
}

std::string RawVideo(const std::vector<PlanarFrame>& frames, char scan) {
  const auto [width, height] = frames.front().size();
  const bool half_height = frames.front().cb.height < height;
  std::ostringstream file;
  file << "YUV4MPEG2 W" << width << " H" << height << " F25:1 I" << scan << " A1:1 C"
       << (half_height ? "420mpeg2" : "422") << "\n";
  for (const PlanarFrame& frame : frames) {
    file << "FRAME\n";
    for (const Picture* plane : {&frame.luma, &frame.cb, &frame.cr}) {
      file << std::string(plane->samples.begin(), plane->samples.end());
    }
  }
  return file.str();
}

std::vector<PlanarFrame> ParseRawVideo(const std::string& file) {
  const std::string head = file.substr(0, file.find('\n'));
  int width = 0;
  int height = 0;
  EXPECT_EQ(std::sscanf(head.c_str(), "YUV4MPEG2 W%d H%d ", &width, &height), 2) << head;
  std::vector<PlanarFrame> frames;
  for (size_t at = head.size() + 1; at < file.size();) {
    PlanarFrame& frame = frames.emplace_back(width, height, head.find(" C420") != head.npos);
    EXPECT_EQ(file.substr(at, 6), "FRAME\n") << "at byte " << at;
    at += 6;
    for (Picture* plane : {&frame.luma, &frame.cb, &frame.cr}) {
      Bytes& samples = plane->samples;
      EXPECT_GE(file.size(), at + samples.size()) << "frame " << frames.size() << " is cut off";
      std::copy_n(file.data() + std::min(at, file.size() - samples.size()), samples.size(),
                  samples.begin());
      at += samples.size();
    }
  }
  return frames;
}

void WriteClip(const std::string& path, const std::vector<PlanarFrame>& frames,
               const std::vector<int>& times, const std::string& options) {
  WriteFile(path + ".y4m", RawVideo(frames));
  std::ostringstream shown_at;  // of frame N
  shown_at << times[0];
  for (size_t i = 1; i < times.size(); ++i) {
    shown_at << "+" << times[i] - times[i - 1] << "*gte(N," << i << ")";
  }
  OutputOf("ffmpeg -nostdin -v error -y -i '" + path + ".y4m' " + options +
           " -vf \"settb=1/1000,setpts='" + shown_at.str() + "'\" -fps_mode passthrough" +
           " -enc_time_base 1:1000 -video_track_timescale 1000 -c:v libx264 -qp 0 '" + path + "'");
  std::remove((path + ".y4m").c_str());
}

StoredVideo ReadClip(const std::string& path) {
  StoredVideo result;
  std::istringstream lines(OutputOf(
      "ffprobe -v error -show_data_hash md5 -of csv -show_entries packet=codec_type,pts_time,"
      "duration_time,data_hash:stream=codec_name,width,pix_fmt,field_order:format=duration '" +
      path + "'"));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream cells(line);
    std::vector<std::string> cell;
    for (std::string text; std::getline(cells, text, ',');) cell.push_back(text);
    if (cell.size() == 5 && cell[0] == "packet") {
      (cell[1] == "video" ? result.video : result.audio)
          .push_back({Microseconds(cell[2]), Microseconds(cell[3]), cell[4]});
    } else if (cell.size() == 5 && cell[0] == "stream") {
      result.kind = cell[1] + "," + cell[2] + "," + cell[3] + "," + cell[4];
    } else if (cell.size() == 2 && cell[0] == "format") {
      result.length = Microseconds(cell[1]);
    }
  }
  std::ranges::sort(result.video, {}, &StoredPacket::pts);
  return result;
}

std::vector<PlanarFrame> DecodeClip(const std::string& path) {
  return ParseRawVideo(OutputOf("ffmpeg -nostdin -v error -i '" + path +
                                "' -map 0:v -fps_mode passthrough -f yuv4mpegpipe -"));
}

}  // namespace vantro::test
