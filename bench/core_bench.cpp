// The frame: magnitudes.
#include "harness.h"

namespace {

using bench::Frame;

const bool registered = [] {
  bench::add("zopiAbs_16s_C1R", {2}, {2}, [](const Frame& f) {
    zopiAbs_16s_C1R(f.source<Zop16s>(0), f.sourceStep(0), f.destination<Zop16s>(), f.destinationStep(),
                    f.size);
  });
  bench::add("zopiAbs_32f_C1R", {4}, {4}, [](const Frame& f) {
    zopiAbs_32f_C1R(f.source<Zop32f>(0), f.sourceStep(0), f.destination<Zop32f>(), f.destinationStep(),
                    f.size);
  });
  return true;
}();

}  // namespace
