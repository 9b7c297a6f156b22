#include "support/targets.h"

#ifdef ZOPI_STATIC_SIMD

namespace targets {

void forEach(const std::function<void(const std::string& name)>& body) { body("baseline"); }

}  // namespace targets

#else

#include "hwy/targets.h"

namespace targets {

void forEach(const std::function<void(const std::string& name)>& body) {
  // The library and this program share libhwy and with it the chosen target.
  constexpr std::int64_t kBuilt[] = {HWY_SSE4, HWY_AVX2, HWY_AVX3};
  const std::int64_t all = hwy::SupportedTargets();
  for (const std::int64_t target : kBuilt) {
    if ((all & target & ~ZOPI_DISABLED_TARGETS) == 0) continue;
    hwy::GetChosenTarget().Update(target);
    body(hwy::TargetName(target));
  }
  hwy::GetChosenTarget().Update(all);
}

}  // namespace targets

#endif
