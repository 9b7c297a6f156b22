// Rows of magnitudes.
#pragma once

#include "core/image.h"

namespace zopi {

template <class T>
using AbsRow = void (*)(Image<const T> src, Image<T> dst, Extent e);

// The row for this machine, for 16s and 32f. `dst` may be `src`.
template <class T>
AbsRow<T> absRow();

}  // namespace zopi
