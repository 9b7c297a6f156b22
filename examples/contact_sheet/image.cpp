#include "image.h"

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

void checkSize(ZopImageSize size, int channels) {
  const std::int64_t rowBytes = (static_cast<std::int64_t>(size.width) * channels + 31) / 32 * 32;
  if (size.width < 1 || size.height < 1 || rowBytes > std::numeric_limits<int>::max() / size.height) {
    throw std::runtime_error("an image of " + std::to_string(size.width) + " x " +
                             std::to_string(size.height) + " pixels is not served");
  }
}

Image withSize(Image image, ZopImageSize size) {
  if (!image.samples) throw std::runtime_error("no memory for an image");
  image.size = size;
  return image;
}

}  // namespace

void check(ZopStatus status) {
  if (status < 0) throw std::runtime_error("the library reports status " + std::to_string(status));
}

Image newColourImage(ZopImageSize size) {
  checkSize(size, 3);
  Image image;
  image.samples.reset(zopiMalloc_8u_C3(size.width, size.height, &image.step));
  return withSize(std::move(image), size);
}

Image newGrayImage(ZopImageSize size) {
  checkSize(size, 1);
  Image image;
  image.samples.reset(zopiMalloc_8u_C1(size.width, size.height, &image.step));
  return withSize(std::move(image), size);
}
