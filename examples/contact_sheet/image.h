// An image in memory of the library that releases itself.
#ifndef CONTACT_SHEET_IMAGE_H_
#define CONTACT_SHEET_IMAGE_H_

#include <zopi.h>

#include <cstddef>
#include <memory>

struct ReleaseImage {
  void operator()(Zop8u* samples) const { zopiFree(samples); }
};

struct Image {
  std::unique_ptr<Zop8u[], ReleaseImage> samples;
  int step = 0;
  ZopImageSize size = {0, 0};

  Zop8u* data() const { return samples.get(); }
  Zop8u* row(int y) const { return data() + static_cast<std::ptrdiff_t>(y) * step; }
};

// Throws std::runtime_error if a call of the library failed.
void check(ZopStatus status);

// Images of three interleaved channels and of one. The samples are not set. Throw std::runtime_error if there
// is no memory or the size is beyond what the library serves.
Image newColourImage(ZopImageSize size);
Image newGrayImage(ZopImageSize size);

#endif  // CONTACT_SHEET_IMAGE_H_
