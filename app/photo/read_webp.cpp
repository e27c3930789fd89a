#include <webp/decode.h>
#include <webp/demux.h>

#include <memory>
#include <new>

#include "app/photo/codecs.h"
#include "app/photo/colour.h"

namespace vantro::app {
namespace {

struct DemuxDeleter {
  void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
};
using DemuxPtr = std::unique_ptr<WebPDemuxer, DemuxDeleter>;

constexpr int kLossless = 2;  // WebPBitstreamFeatures::format

const char* CauseText(VP8StatusCode status) {
  switch (status) {
    case VP8_STATUS_NOT_ENOUGH_DATA:
    case VP8_STATUS_SUSPENDED:
      return "WebP: the file ends too early";
    case VP8_STATUS_UNSUPPORTED_FEATURE:
      return "WebP: uses a feature that libwebp does not know";
    default:
      return "WebP: damaged";
  }
}

void Check(VP8StatusCode status) {
  if (status == VP8_STATUS_OUT_OF_MEMORY) throw std::bad_alloc();
  if (status != VP8_STATUS_OK) throw RunError(CauseText(status));
}

Bytes Chunk(const WebPDemuxer* demuxer, const char* name) {
  WebPChunkIterator found;
  if (WebPDemuxGetChunk(demuxer, name, 1, &found) == 0) return {};
  const std::unique_ptr<WebPChunkIterator, decltype(&WebPDemuxReleaseChunkIterator)> release(
      &found, &WebPDemuxReleaseChunkIterator);
  return {found.chunk.bytes, found.chunk.bytes + found.chunk.size};
}

}  // namespace

StoredPhoto ReadWebp(const Bytes& file) {
  WebPDecoderConfig config;
  if (WebPInitDecoderConfig(&config) == 0) throw RunError("libwebp has another version");
  Check(WebPGetFeatures(file.data(), file.size(), &config.input));
  if (config.input.has_animation != 0) throw RunError("is an animation, not a still picture");
  const int width = config.input.width;
  const int height = config.input.height;
  CheckPictureSize(width, height);

  const int channels = config.input.has_alpha != 0 ? 4 : 3;
  Plane pixels(channels * width, height);
  config.output.colorspace = channels == 4 ? MODE_RGBA : MODE_RGB;
  config.output.is_external_memory = 1;
  config.output.u.RGBA = {pixels.row(0), pixels.width, pixels.samples.size()};
  Check(WebPDecode(file.data(), file.size(), &config));

  StoredPhoto stored;
  Photo& photo = stored.photo;
  photo.lossless = config.input.format == kLossless;
  photo.raster = Raster(width, height, false, 0, 0);
  if (channels == 4) photo.raster.alpha = Plane(width, height);
  for (int y = 0; y < height; ++y) StorePixels(pixels.row(y), channels, y, photo.raster);

  const WebPData data{file.data(), file.size()};
  if (const DemuxPtr demuxer(WebPDemux(&data)); demuxer != nullptr) {
    photo.icc = Chunk(demuxer.get(), "ICCP");
    const Bytes exif = Chunk(demuxer.get(), "EXIF");
    photo.exif = WithoutExifMark(exif.data(), exif.size());
  }
  stored.orientation = ExifOrientation(photo.exif);
  return stored;
}

}  // namespace vantro::app
