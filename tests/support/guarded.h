// Memory between unmapped pages: a byte read or written outside it ends the test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace guarded {

// Where a region lies in its block: its first byte `offset` bytes behind the leading guard, or its last byte
// right before the trailing one.
struct Placement {
  bool atEnd = true;
  int offset = 0;
};

// A block of pages with an unmapped page on either side.
class Block {
 public:
  explicit Block(std::size_t bytes);
  ~Block();
  Block(Block&& other) noexcept;
  Block(const Block&) = delete;

  unsigned char* data() { return data_; }
  std::size_t size() const { return size_; }

 private:
  unsigned char* data_;
  std::size_t size_;
};

// A region of an image in a block of its own: `rows` rows of `rowBytes` bytes, `step` bytes apart. The block
// is filled with noise, gaps between rows included. With a halo, the region that a call is given starts
// `before` bytes behind the first.
class Region {
 public:
  Region(int rows, std::ptrdiff_t rowBytes, int step, Placement placement, std::mt19937& random,
         std::ptrdiff_t before = 0);

  unsigned char* at() { return at_; }
  int step() const { return step_; }
  // All bytes of the block, to be compared with those of another run.
  std::vector<unsigned char> bytes() const { return {block_.data(), block_.data() + block_.size()}; }
  // Where the call's region starts, in a copy of the block.
  unsigned char* in(std::vector<unsigned char>& copy) const { return copy.data() + (at_ - block_.data()); }
  bool equals(const std::vector<unsigned char>& copy) const;

 private:
  mutable Block block_;
  unsigned char* at_;
  int step_;
};

}  // namespace guarded
