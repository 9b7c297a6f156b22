// Channels of images, one at a time: whatever the layout, what follows sees images of one channel.
#pragma once

#include <cstddef>

#include "convert/convert_rows.h"
#include "core/image.h"
#include "move/copy.h"

namespace zopi {

// A channel of a larger image, whose samples are not yet side by side.
template <class Layout, class T>
Image<T> channelOf(Image<T> image, int channel) {
  return {image.at + channel, image.step};
}
template <class Layout, class T>
Image<T> pixelsFrom(Image<T> image, int x, int y) {
  return {image.row(y) + std::ptrdiff_t{x} * Layout::channels, image.step};
}

// Samples as numbers, side by side. `row` is memory for a row of samples.
template <class Layout, class T>
void takeNumbers(Image<const T> channel, Image<float> out, ZopImageSize size, unsigned char* row) {
  if constexpr (std::is_same_v<T, Zop32f>) {
    extractChannel<Layout>(channel, out, size);
  } else {
    const auto& convert = convertTable().template of<T, Zop32f>().row[0];
    if constexpr (Layout::channels == 1) {
      mapImage<C1>(convert, channel, out, size);
    } else {
      const Image<T> samples = {reinterpret_cast<T*>(row), 0};
      const ZopImageSize one = {size.width, 1};
      for (int y = 0; y < size.height; ++y) {
        extractChannel<Layout>(channel.from(y), samples, one);
        mapImage<C1>(convert, Image<const T>(samples), out.from(y), one);
      }
    }
  }
}

}  // namespace zopi
