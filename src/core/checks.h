// The argument checks of the exported functions. Each returns 0 or the status of its first failure; the API
// table says which of them a function makes, and in which order.
#pragma once

#include "zopi/status.h"
#include "zopi/types.h"

namespace zopi {

template <class... P>
ZopStatus checkPointers(P*... pointers) {
  return ((pointers == nullptr) || ...) ? zopStatusNullPointer : zopStatusOk;
}

// An array of plane pointers: the array itself, then its elements.
template <int Count, class T>
ZopStatus checkPlanes(T* const* planes) {
  if (planes == nullptr) return zopStatusNullPointer;
  for (int c = 0; c < Count; ++c) {
    if (planes[c] == nullptr) return zopStatusNullPointer;
  }
  return zopStatusOk;
}

inline ZopStatus checkWidth(ZopImageSize size) { return size.width < 1 ? zopStatusBadSize : zopStatusOk; }

inline ZopStatus checkSize(ZopImageSize size) {
  return size.width < 1 || size.height < 1 ? zopStatusBadSize : zopStatusOk;
}

template <class... Step>
ZopStatus checkSteps(Step... steps) {
  return ((steps < 1) || ...) ? zopStatusBadStep : zopStatusOk;
}

}  // namespace zopi
