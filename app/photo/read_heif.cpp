#include <libheif/heif.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string>

#include "app/photo/codecs.h"
#include "app/photo/colour.h"

namespace vantro::app {
namespace {

struct HeifDeleter {
  void operator()(heif_context* context) const { heif_context_free(context); }
  void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
  void operator()(heif_image* image) const { heif_image_release(image); }
};
using ContextPtr = std::unique_ptr<heif_context, HeifDeleter>;
using HandlePtr = std::unique_ptr<heif_image_handle, HeifDeleter>;
using ImagePtr = std::unique_ptr<heif_image, HeifDeleter>;

void Check(const heif_error& error) {
  if (error.code == heif_error_Memory_allocation_error) throw std::bad_alloc();
  if (error.code == heif_error_Ok) return;
  if (error.code == heif_error_Unsupported_filetype) throw RunError(kNoPicture);  // as films are
  std::string cause = error.message != nullptr ? error.message : "damaged";
  cause.erase(std::min(cause.find('\n'), cause.size()));
  throw RunError("HEIC/AVIF: " + cause);
}

Bytes ReadProfile(const heif_image_handle* handle) {
  const heif_color_profile_type type = heif_image_handle_get_color_profile_type(handle);
  if (type != heif_color_profile_type_prof && type != heif_color_profile_type_rICC) return {};
  Bytes profile(heif_image_handle_get_raw_color_profile_size(handle));
  Check(heif_image_handle_get_raw_color_profile(handle, profile.data()));
  return profile;
}

// The item begins with the position of the TIFF structure behind this number (ISO/IEC 23008-12,
// A.2.1).
ExifBlock ReadExif(const heif_image_handle* handle) {
  heif_item_id id = 0;
  if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &id, 1) != 1) return {};
  Bytes item(heif_image_handle_get_metadata_size(handle, id));
  Check(heif_image_handle_get_metadata(handle, id, item.data()));
  constexpr size_t kHead = 4;
  if (item.size() < kHead) return {};
  size_t skip = 0;
  for (size_t i = 0; i < kHead; ++i) skip = skip << 8 | item[i];
  if (skip > item.size() - kHead) return {};
  return WithoutExifMark(item.data() + kHead + skip, item.size() - kHead - skip);
}

}  // namespace

StoredPhoto ReadHeif(const Bytes& file) {
  const ContextPtr context(heif_context_alloc());
  if (context == nullptr) throw std::bad_alloc();
  Check(
      heif_context_read_from_memory_without_copy(context.get(), file.data(), file.size(), nullptr));
  heif_image_handle* opened = nullptr;
  Check(heif_context_get_primary_image_handle(context.get(), &opened));
  const HandlePtr handle(opened);
  CheckPictureSize(heif_image_handle_get_width(opened), heif_image_handle_get_height(opened));

  const bool has_alpha = heif_image_handle_has_alpha_channel(opened) != 0;
  const int channels = has_alpha ? 4 : 3;
  heif_image* decoded = nullptr;
  Check(heif_decode_image(opened, &decoded, heif_colorspace_RGB,
                          has_alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB,
                          nullptr));
  const ImagePtr image(decoded);

  // Such a file's own turns are made by libheif; its Exif orientation repeats them.
  StoredPhoto stored;
  Photo& photo = stored.photo;
  const int width = heif_image_get_width(decoded, heif_channel_interleaved);
  const int height = heif_image_get_height(decoded, heif_channel_interleaved);
  CheckPictureSize(width, height);
  photo.raster = Raster(width, height, false, 0, 0);
  if (has_alpha) photo.raster.alpha = Plane(width, height);
  int pitch = 0;
  const uint8_t* const rows =
      heif_image_get_plane_readonly(decoded, heif_channel_interleaved, &pitch);
  if (rows == nullptr) throw RunError("HEIC/AVIF: has no samples");
  for (int y = 0; y < height; ++y) {
    StorePixels(rows + static_cast<ptrdiff_t>(y) * pitch, channels, y, photo.raster);
  }
  photo.icc = ReadProfile(opened);
  photo.exif = ReadExif(opened);
  return stored;
}

}  // namespace vantro::app
