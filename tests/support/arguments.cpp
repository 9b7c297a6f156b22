#include "support/arguments.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace registry {

int goodConstant(const Argument& argument) {
  return std::strcmp(argument.name, "dstOrder") == 0 ? 0 : kGoodConstant;
}

Arguments::Arguments(const Function& function, ZopImageSize size)
    : planes_(function.arguments.size()), steps_(function.arguments.size()) {
  std::mt19937 random(1);
  int step = 0;
  for (std::size_t i = 0; i < function.arguments.size(); ++i) {
    const Argument& a = function.arguments[i];
    if (a.role == Role::Steps) {
      steps_[i].assign(a.planes, step);
      values.emplace_back(static_cast<void*>(steps_[i].data()));
    } else if (a.isPointer()) {
      step = (a.isImage() ? size.width : 1) * a.samples * a.sampleBytes;
      for (int p = 0; p < std::max(a.planes, 1); ++p) {
        memory_.push_back(std::make_unique<guarded::Region>(a.isImage() ? size.height : 1, step, step,
                                                            guarded::Placement{}, random));
        if (a.role == Role::Constant) std::memset(memory_.back()->at(), goodConstant(a), step);
        before_.push_back(memory_.back()->bytes());
        planes_[i].push_back(memory_.back()->at());
      }
      values.emplace_back(a.planes > 0 ? static_cast<void*>(planes_[i].data()) : planes_[i][0]);
    } else if (a.role == Role::Step) {
      values.emplace_back(step);
    } else if (a.role == Role::Size) {
      values.emplace_back(size);
    } else if (a.role == Role::Sample) {
      std::int64_t sample;
      std::memset(&sample, kGoodConstant, sizeof sample);
      values.emplace_back(sample);
    } else if (std::strcmp(a.name, "vMax") == 0) {
      values.emplace_back(1.0f);  // vMin is 0
    } else {
      values.emplace_back();
    }
  }
}

bool Arguments::untouched() const {
  for (std::size_t i = 0; i < memory_.size(); ++i) {
    if (!memory_[i]->equals(before_[i])) return false;
  }
  return true;
}

}  // namespace registry
