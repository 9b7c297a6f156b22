// Products of packed spectra, and spectra without packing.
#include "transform/packed_products.h"

#include <cstring>
#include <limits>

namespace zopi {
namespace {

template <class Layout>
ZopStatus product(Image<const Zop32f> a, Image<const Zop32f> b, Image<Zop32f> out, ZopImageSize size) {
  multiplyPacked<Layout>(a, b, out, size);
  return zopStatusOk;
}

template <class Layout>
ZopStatus productWithConjugate(Image<const Zop32f> a, Image<const Zop32f> b, Image<Zop32f> out,
                               ZopImageSize size) {
  multiplyPackedByConjugate<Layout>(a, b, out, size);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus product(Image<const T> a, std::type_identity_t<Image<const T>> b,
                  std::type_identity_t<Image<T>> out, ZopImageSize size, int scale) {
  const auto& table = packedTable().of<Layout>();
  const auto rows = [&](Image<const T> p, Image<const T> q, Image<T> r, Extent e) {
    if constexpr (std::is_same_v<T, Zop16s>)
      table.words(p, q, r, e, scale);
    else
      table.integers(p, q, r, e, scale);
  };
  multiplyPackedWith<Layout>(rows, T{0}, a, b, out, size);
  return zopStatusOk;
}

template <class T>
T negated(T x) {
  if constexpr (std::is_integral_v<T>) x = std::max(x, -std::numeric_limits<T>::max());
  return -x;
}

void conjugatesBackward(const Zop32f* pairs, std::ptrdiff_t count, Zop32f* out) {
  packedTable().conjugateNumbers(pairs, count, out);
}
void conjugatesBackward(const Zop32s* pairs, std::ptrdiff_t count, Zop32s* out) {
  packedTable().conjugateIntegers(pairs, count, out);
}

// Column `from` of the packed image becomes column `to` of the spectrum. Steps may be any number of bytes.
template <class Complex, class T = Real<Complex>>
void unpackColumn(Image<const T> packed, int from, Image<Complex> spectrum, int to, int height) {
  const auto get = [=](int y) {
    T value;
    std::memcpy(&value, packed.row(y) + from, sizeof value);
    return value;
  };
  const auto put = [=](int y, Complex value) { std::memcpy(spectrum.row(y) + to, &value, sizeof value); };
  put(0, {get(0), 0});
  for (int y = 1; 2 * y < height; ++y) {
    const T re = get(2 * y - 1), im = get(2 * y);
    put(y, {re, im});
    put(height - y, {re, negated(im)});
  }
  if (height % 2 == 0) put(height / 2, {get(height - 1), 0});
}

template <class Complex, class T = Real<Complex>>
ZopStatus unpack(Image<const T> packed, Image<Complex> spectrum, ZopImageSize size) {
  unpackColumn<Complex>(packed, 0, spectrum, 0, size.height);
  if (size.width % 2 == 0)
    unpackColumn<Complex>(packed, size.width - 1, spectrum, size.width / 2, size.height);
  const int pairs = (size.width - 1) / 2;
  for (int y = 0; y < size.height; ++y) {
    const T* row = packed.row(y) + 1;
    std::memcpy(spectrum.row(y) + 1, row, pairs * sizeof(Complex));
    const int opposite = y == 0 ? 0 : size.height - y;
    conjugatesBackward(row, pairs, reinterpret_cast<T*>(spectrum.row(opposite) + size.width - pairs));
  }
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "transform/packed_products.exports.inc"
