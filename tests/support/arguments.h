// Good arguments for one call of any function of the registry, on images between unmapped pages.
#pragma once

#include <memory>
#include <vector>

#include "support/guarded.h"
#include "support/registry.h"

namespace registry {

// The bytes of good constants: a divisor or level of any type, but for what must be the number of a channel.
inline constexpr int kGoodConstant = 0x3f;
int goodConstant(const Argument& argument);

class Arguments {
 public:
  Arguments(const Function& function, ZopImageSize size);

  // Whether every byte that an argument points to still has its first value.
  bool untouched() const;
  // What is behind the arguments that are pointers, guards and all.
  std::vector<std::vector<unsigned char>> bytes() const;

  // The plane pointers of an argument.
  std::vector<void*>& planes(std::size_t argument) { return planes_[argument]; }
  // The steps of an argument that is an array of them.
  std::vector<int>& steps(std::size_t argument) { return steps_[argument]; }

  std::vector<Value> values;  // in the order of the arguments, to be spoiled at will

 private:
  std::vector<std::unique_ptr<guarded::Region>> memory_;
  std::vector<std::vector<unsigned char>> before_;
  std::vector<std::vector<void*>> planes_;
  std::vector<std::vector<int>> steps_;
};

}  // namespace registry
