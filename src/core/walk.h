// How a function goes through the rows of its region: alone, or shared among the threads of an OpenMP team.
//
// A walk hands its body bands: the images advanced to the band's first row, and the band's extent. A band
// without gaps between its rows is handed over as one long row. The three ways to share a region:
//   walkRows    rows with no memory of each other (arithmetic, colour)
//   walkSlices  rows that need working memory, one slice a thread (running filters)
//   walkBands   bands cut by hand, the last thread takes the remainder (general filters)
#pragma once

#include <omp.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/image.h"
#include "core/memory.h"
#include "zopi/status.h"

namespace zopi {

// Gates: whether a region is worth a team of threads. The tests are in 32 bits, as wide as the sizes.
inline bool gate8u(ZopImageSize size) { return (size.height >> 2) + (size.width >> 4) > 20; }
inline bool gate16s(ZopImageSize size) { return (size.height >> 2) + (size.width >> 3) > 20; }
inline bool gateColour(ZopImageSize size) { return size.width * size.height > 4096; }

// Regions that move this many bytes or more leave no cache line behind that a caller would find again, so
// stores past the caches are cheaper (docs/architecture.md has the measurement).
inline constexpr std::ptrdiff_t kStreamBytes = 20 << 20;

// A thread's part of the rows: contiguous, and no two parts differ by more than one row.
struct Share {
  int begin, end;
};
inline Share share(int rows, int thread, int threads) {
  const int each = rows / threads, more = rows % threads;
  const int begin = thread * each + (thread < more ? thread : more);
  return {begin, begin + each + (thread < more ? 1 : 0)};
}

namespace walk {

template <class T, int Unit>
std::ptrdiff_t rowBytes(std::ptrdiff_t length, Image<T, Unit>) {
  return length * Unit * static_cast<std::ptrdiff_t>(sizeof(T));
}

template <class T, int Unit>
bool gapFree(std::ptrdiff_t length, Image<T, Unit> image) {
  return image.step == rowBytes(length, image);
}

// In place there is nothing to gain from streaming: the line has just been read.
template <class... I>
bool inPlace(I... images) {
  const void* at[] = {images.at...};
  for (std::size_t i = 0; i < sizeof...(I); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (at[i] == at[j]) return true;
    }
  }
  return false;
}

template <class... I>
bool streams(Extent e, I... images) {
  return (rowBytes(e.length, images) + ...) * e.rows >= kStreamBytes && !inPlace(images...);
}

template <class Body, class... I>
void band(Extent e, const Body& body, I... images) {
  if ((gapFree(e.length, images) && ...)) e = {e.length * e.rows, 1, e.stream};
  body(images..., e);
}

}  // namespace walk

// The whole region on the calling thread.
template <class Body, class... I>
void walkSerial(Extent e, const Body& body, I... images) {
  e.stream = walk::streams(e, images...);
  walk::band(e, body, images...);
}

// The same for images of different layouts, each counted in its own unit a pixel. The body knows the layouts:
// it gets the images as samples, and an extent in pixels.
template <class Body, class... T, int... kUnit>
void walkPixels(ZopImageSize size, const Body& body, Image<T, kUnit>... images) {
  walkSerial(
      extent(size),
      [&](Image<T, kUnit>... band, Extent e) { body(band.template as<std::remove_const_t<T>, 1>()..., e); },
      images...);
}

// The region in pieces of rows that the innermost cache holds, one after the other: for plans that go over
// their samples twice.
inline constexpr std::ptrdiff_t kPiece = 4096;

template <class Body, class... I>
void walkPieces(Extent e, const Body& body, I... images) {
  walkSerial(
      e,
      [&](I... band, Extent b) {
        for (int y = 0; y < b.rows; ++y) {
          for (std::ptrdiff_t x = 0; x < b.length; x += kPiece) {
            body(I{band.row(y) + x * I::unit, band.step}...,
                 Extent{std::min(kPiece, b.length - x), 1, b.stream});
          }
        }
      },
      images...);
}

// The rows shared by a team where `parallel` holds, else the whole region on the calling thread. A team of
// one needs no region.
template <class Body, class... I>
void walkRows(bool parallel, Extent e, const Body& body, I... images) {
  if (!parallel || omp_get_max_threads() == 1) return walkSerial(e, body, images...);
  const bool stream = walk::streams(e, images...);
#pragma omp parallel
  {
    const Share rows = share(e.rows, omp_get_thread_num(), omp_get_num_threads());
    if (rows.begin < rows.end) {
      walk::band({e.length, rows.end - rows.begin, stream}, body, images.from(rows.begin)...);
    }
  }
}

// The same for rows that look at the rows around them: they are never joined.
template <class Body, class... I>
void walkNeighbours(bool parallel, Extent e, const Body& body, I... images) {
  e.stream = walk::streams(e, images...);
  if (!parallel || omp_get_max_threads() == 1) return body(images..., e);
#pragma omp parallel
  {
    const Share rows = share(e.rows, omp_get_thread_num(), omp_get_num_threads());
    if (rows.begin < rows.end) {
      body(images.from(rows.begin)..., Extent{e.length, rows.end - rows.begin, e.stream});
    }
  }
}

// The rows shared by a team, each thread that gets any with a slice of `sliceBytes` of one buffer. The body
// is called once by each, `body(slice, begin, end)`, and primes its slice at its first row. Where the gate
// fails there is one slice and no region. -9 if there is no memory: then no row was touched.
template <class Body>
ZopStatus walkSlices(bool parallel, int rows, int sliceBytes, const Body& body) {
  unsigned char* buffer = nullptr;
  if (!parallel || omp_get_max_threads() == 1) {
    buffer = static_cast<unsigned char*>(zopAllocBytes(sliceBytes));
    if (buffer == nullptr) return zopStatusNoMemory;
    body(buffer, 0, rows);
    zopFreeAligned(buffer);
    return zopStatusOk;
  }
#pragma omp parallel
  {
#pragma omp master
    {
      const std::int64_t bytes = std::int64_t{sliceBytes} * std::min(omp_get_num_threads(), rows);
      buffer =
          bytes <= INT32_MAX ? static_cast<unsigned char*>(zopAllocBytes(static_cast<int>(bytes))) : nullptr;
    }
#pragma omp barrier
    if (buffer != nullptr) {
      const int thread = omp_get_thread_num();
      const Share part = share(rows, thread, omp_get_num_threads());
      if (part.begin < part.end) {
        body(buffer + static_cast<std::ptrdiff_t>(thread) * sliceBytes, part.begin, part.end);
      }
    }
  }
  if (buffer == nullptr) return zopStatusNoMemory;
  zopFreeAligned(buffer);
  return zopStatusOk;
}

// The rows cut into one band a thread, `body(begin, end)`: all bands are equal but the last, which takes the
// remainder. A body may be handed an empty band.
template <class Body>
void walkBands(int rows, const Body& body) {
  if (omp_get_max_threads() == 1) return body(0, rows);
#pragma omp parallel
  {
    const int thread = omp_get_thread_num(), threads = omp_get_num_threads();
    const int each = rows / threads;
    body(thread * each, thread == threads - 1 ? rows : (thread + 1) * each);
  }
}

}  // namespace zopi
