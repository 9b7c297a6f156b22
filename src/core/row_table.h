// The row functions of a family for several sample types, as one constant for each vector target.
#pragma once

namespace zopi {

template <template <class> class Rows, class... T>
struct RowTable : Rows<T>... {
  template <class Sample>
  constexpr const Rows<Sample>& of() const {
    return *this;
  }
};

}  // namespace zopi
