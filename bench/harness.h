// Times a function against the speed of memory: every row runs the call and, in turn with it, a plain
// traversal of the same buffers. The limit fraction is the traversal's time over the call's: 1 is memory
// speed.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zopi.h"

namespace bench {

struct Way;

// What the images hold: random bits, or numbers from 0 to 256 (random bits are mostly numbers that no image
// holds, and arithmetic on them overflows or takes the processor's slow ways).
enum class Contents { Noise, Numbers };

// Bytes of a pixel of an image: planes of chroma have less than one.
struct PixelBytes {
  double value;
  template <class T>
  PixelBytes(T bytes) : value(static_cast<double>(bytes)) {}
  int ofRow(int width) const { return static_cast<int>(width * value); }
};

// The images of a call: what it reads, which may have a halo on all sides, then what it writes, which may
// be `scale` times as wide and high, and have a border: `sizeWithBorder` is its size. `source` is the first
// pixel inside the halo.
class Frame {
 public:
  Frame(ZopImageSize size, Contents contents, const std::vector<PixelBytes>& sourcePixelBytes,
        const std::vector<PixelBytes>& destinationPixelBytes, int border = 0, int halo = 0, double scale = 1);

  ZopImageSize size, sizeWithBorder;

  template <class T = Zop8u>
  const T* source(int i) const {
    return reinterpret_cast<const T*>(sources_[i].data.get() + sources_[i].before);
  }
  int sourceStep(int i) const { return sources_[i].step; }
  template <class T = Zop8u>
  T* destination(int i = 0) const {
    return reinterpret_cast<T*>(destinations_[i].data.get());
  }
  int destinationStep(int i = 0) const { return destinations_[i].step; }

  // Moves as many bytes as the call `times` times: copies, and sums or fills what is left over. The fastest
  // of three ways counts.
  double secondsOfTraversal(int times) const;

 private:
  struct Image {
    std::unique_ptr<unsigned char, void (*)(void*)> data;
    int step;
    std::size_t bytes;
    std::ptrdiff_t before = 0;  // bytes of the halo ahead of the first pixel
  };
  static Image allocate(ZopImageSize size, Contents contents, PixelBytes pixelBytes, unsigned seed);
  void traverse(const Way& way) const;

  std::vector<Image> sources_, destinations_;
};

using Call = std::function<void(const Frame& frame)>;

// Registers a row at 64x64, 640x480 and 3840x2160 pixels. The images of functions whose name says `_32f` hold
// numbers.
void add(const std::string& name, std::vector<PixelBytes> sourcePixelBytes,
         std::vector<PixelBytes> destinationPixelBytes, Call call, int border = 0, int halo = 0,
         double scale = 1);
// The same at sizes of the row's own.
void addAt(const std::vector<ZopImageSize>& sizes, const std::string& name,
           std::vector<PixelBytes> sourcePixelBytes, std::vector<PixelBytes> destinationPixelBytes, Call call,
           int border = 0, int halo = 0, double scale = 1);

}  // namespace bench
