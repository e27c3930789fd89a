#include <webp/encode.h>
#include <webp/mux.h>

#include <memory>
#include <new>
#include <string>

#include "app/photo/codecs.h"
#include "app/photo/colour.h"

namespace vantro::app {
namespace {

constexpr int kLosslessEffort = 4;  // of 9, as the encoder's own tool has it at its default

struct PictureOwner {
  PictureOwner() {
    if (WebPPictureInit(&picture) == 0) throw RunError("libwebp has another version");
    WebPMemoryWriterInit(&writer);
    picture.writer = &WebPMemoryWrite;
    picture.custom_ptr = &writer;
  }
  ~PictureOwner() {
    WebPPictureFree(&picture);
    WebPMemoryWriterClear(&writer);
  }
  PictureOwner(const PictureOwner&) = delete;
  PictureOwner& operator=(const PictureOwner&) = delete;

  WebPPicture picture;
  WebPMemoryWriter writer;
};

struct MuxDeleter {
  void operator()(WebPMux* mux) const { WebPMuxDelete(mux); }
};
using MuxPtr = std::unique_ptr<WebPMux, MuxDeleter>;

WebPConfig Config(bool lossless) {
  WebPConfig config;
  if (WebPConfigInit(&config) == 0) throw RunError("libwebp has another version");
  if (lossless) {
    WebPConfigLosslessPreset(&config, kLosslessEffort);
    config.exact = 1;  // the colours under full transparency too
  } else {
    config.quality = kQuality;
    config.use_sharp_yuv = 1;
  }
  return config;
}

void CheckMux(WebPMuxError error) {
  if (error == WEBP_MUX_MEMORY_ERROR) throw std::bad_alloc();
  if (error != WEBP_MUX_OK) throw RunError("WebP: the file cannot be put together");
}

void SetChunk(WebPMux* mux, const char* name, const Bytes& content) {
  if (content.empty()) return;
  const WebPData data{content.data(), content.size()};
  CheckMux(WebPMuxSetChunk(mux, name, &data, 0));
}

}  // namespace

Bytes WriteWebp(const Photo& photo, const NoteSink& note) {
  const Raster& raster = photo.raster;
  if (raster.width > WEBP_MAX_DIMENSION || raster.height > WEBP_MAX_DIMENSION) {
    throw RunError("a WebP file holds at most " + std::to_string(WEBP_MAX_DIMENSION) +
                   " pixels a side; write a .png or .jpg file instead");
  }
  const int channels = raster.alpha.empty() ? 3 : 4;
  Plane pixels(channels * raster.width, raster.height);
  Plane scratch;
  for (int y = 0; y < raster.height; ++y) {
    LoadPixels(raster, y, channels, pixels.row(y), scratch);
  }

  PictureOwner owner;
  const WebPConfig config = Config(photo.lossless);
  owner.picture.width = raster.width;
  owner.picture.height = raster.height;
  owner.picture.use_argb = 1;
  const auto import = channels == 4 ? &WebPPictureImportRGBA : &WebPPictureImportRGB;
  if (import(&owner.picture, pixels.row(0), pixels.width) == 0) throw std::bad_alloc();
  pixels = {};
  if (WebPEncode(&config, &owner.picture) == 0) {
    if (owner.picture.error_code == VP8_ENC_ERROR_OUT_OF_MEMORY) throw std::bad_alloc();
    throw RunError("WebP: the encoder failed (code " + std::to_string(owner.picture.error_code) +
                   ")");
  }

  const MuxPtr mux(WebPMuxNew());
  if (mux == nullptr) throw std::bad_alloc();
  const WebPData image{owner.writer.mem, owner.writer.size};
  CheckMux(WebPMuxSetImage(mux.get(), &image, 0));
  if (raster.grey && !photo.icc.empty()) {
    note("WebP files hold no grey pictures; the profile for grey is left out");
  } else {
    SetChunk(mux.get(), "ICCP", photo.icc);
  }
  SetChunk(mux.get(), "EXIF", photo.exif);
  WebPData file{};
  CheckMux(WebPMuxAssemble(mux.get(), &file));
  const std::unique_ptr<WebPData, decltype(&WebPDataClear)> release(&file, &WebPDataClear);
  return {file.bytes, file.bytes + file.size};
}

}  // namespace vantro::app
