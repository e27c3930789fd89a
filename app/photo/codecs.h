// One reader and one writer a kind of file, behind photo_file.h.
#ifndef VANTRO_APP_PHOTO_CODECS_H_
#define VANTRO_APP_PHOTO_CODECS_H_

#include "app/photo/photo_file.h"

namespace vantro::app {

// How a picture lies in its file, read with it.
struct StoredPhoto {
  Photo photo;
  Orientation orientation;
};

// Of a file that is none.
inline constexpr char kNoPicture[] =
    "is not a JPEG, PNG, WebP, HEIC or AVIF picture; convert it first, or, if it is a video, use "
    "\"vantro video\"";

// All throw RunError with the cause. Notes tell what is left out.
StoredPhoto ReadJpeg(const Bytes& file);
StoredPhoto ReadPng(const Bytes& file, const NoteSink& note);
StoredPhoto ReadWebp(const Bytes& file);
StoredPhoto ReadHeif(const Bytes& file);

Bytes WriteJpeg(const Photo& photo, const NoteSink& note);
Bytes WritePng(const Photo& photo);
Bytes WriteWebp(const Photo& photo, const NoteSink& note);

// The part of an "Exif" chunk or marker that is the TIFF structure: some begin with "Exif\0\0".
ExifBlock WithoutExifMark(const uint8_t* data, size_t size);

// Whether a profile describes colours of this kind of picture; other profiles would mislead.
bool ProfileFits(const Bytes& icc, bool grey);

// JPEG and WebP quality, of 100, for pictures that lose something in the file. At 95 the loss is
// below what the eye sees at arm's length, at a third of the size of 100.
inline constexpr int kQuality = 95;

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_CODECS_H_
