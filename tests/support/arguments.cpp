#include "support/arguments.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "zopi/geom.h"

namespace registry {

int goodConstant(const Argument& argument) {
  return std::strcmp(argument.name, "dstOrder") == 0 ? 0 : kGoodConstant;
}

namespace {

// A mask of any size up to this, and a kernel whose weights are small in every type.
unsigned char cells[64] = {1, 1, 0, 1};
Zop32f weights[1024] = {1, 2, -1};

Value goodParameter(const Argument& argument) {
  if (std::strcmp(argument.name, "vMax") == 0) return 1.0f;  // vMin is 0
  if (std::strcmp(argument.name, "maskCode") == 0) return 55;
  if (std::strcmp(argument.name, "maskSize") == 0) return ZopImageSize{4, 5};
  if (std::strcmp(argument.name, "pMask") == 0) return static_cast<void*>(cells);
  // A kernel of one size serves as a length, too.
  if (std::strcmp(argument.name, "kernelSize") == 0) return ZopImageSize{40, 20};
  if (std::strcmp(argument.name, "pKernel") == 0) return static_cast<void*>(weights);
  if (std::strcmp(argument.name, "divisor") == 0) return 3;
  for (const char* name : {"xFactor", "yFactor", "xFr", "yFr"}) {
    if (std::strcmp(argument.name, name) == 0) return 1.0;
  }
  if (std::strcmp(argument.name, "interpolation") == 0) return zopInterLinear;
  if (std::strcmp(argument.name, "srcSize") == 0) return ZopImageSize{5, 3};
  if (std::strcmp(argument.name, "srcRoi") == 0) return ZopImageRect{0, 0, 5, 3};
Value goodParameter(const Function& function, const Argument& argument) {
  if (std::strcmp(argument.name, "vMax") == 0) return 1.0f;  // vMin is 0
  const std::string operation = function.operation;
  if (std::strcmp(argument.name, "maskCode") == 0)
    return operation == "FilterMedianHoriz" ? 51 : operation == "FilterMedianVert" ? 15 : 55;
  if (std::strcmp(argument.name, "maskSize") == 0)
    return operation == "FilterMedian" ? ZopImageSize{3, 5} : ZopImageSize{4, 5};
  return {};
}

}  // namespace

Arguments::Arguments(const Function& function, ZopImageSize size)
    : planes_(function.arguments.size()), steps_(function.arguments.size()) {
  std::mt19937 random(1);
  std::vector<Value> parameters;
  for (const Argument& a : function.arguments) parameters.push_back(goodParameter(function, a));
  int step = 0;
  for (std::size_t i = 0; i < function.arguments.size(); ++i) {
    const Argument& a = function.arguments[i];
    if (a.role == Role::Steps) {
      steps_[i].assign(a.planes, step);
      values.emplace_back(static_cast<void*>(steps_[i].data()));
    } else if (a.isPointer()) {
      const int pixelBytes = a.samples * a.sampleBytes;
      const Halo halo = function.halo(a, parameters);
      const int rows = a.isImage() ? halo.above + size.height + halo.below : 1;
      step = (a.isImage() ? halo.left + size.width + halo.right : 1) * pixelBytes;
      for (int p = 0; p < std::max(a.planes, 1); ++p) {
        memory_.push_back(std::make_unique<guarded::Region>(rows, step, step, guarded::Placement{}, random,
                                                            halo.above * step + halo.left * pixelBytes));
        if (a.role == Role::Constant) std::memset(memory_.back()->at(), goodConstant(a), step);
        before_.push_back(memory_.back()->bytes());
        planes_[i].push_back(memory_.back()->at());
      }
      values.emplace_back(a.planes > 0 ? static_cast<void*>(planes_[i].data()) : planes_[i][0]);
    } else if (a.role == Role::Step) {
      values.emplace_back(step);
    } else if (a.role == Role::Size || a.role == Role::WholeSize) {
      values.emplace_back(size);
    } else if (a.role == Role::Region) {
      values.emplace_back(ZopImageRect{0, 0, size.width, size.height});
    } else if (a.role == Role::Sample) {
      std::int64_t sample;
      std::memset(&sample, kGoodConstant, sizeof sample);
      values.emplace_back(sample);
    } else {
      values.push_back(parameters[i]);
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
