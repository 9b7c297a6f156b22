#include "support/guarded.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

namespace guarded {
namespace {

const std::size_t kPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));

// Mapping and unmapping costs more than most calls under test, so each thread keeps its blocks and uses them
// again.
std::multimap<std::size_t, unsigned char*>& freeBlocks() {
  thread_local std::multimap<std::size_t, unsigned char*> blocks;
  return blocks;
}

unsigned char* map(std::size_t size) {
  void* pages = mmap(nullptr, size + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages == MAP_FAILED ||
      mprotect(static_cast<unsigned char*>(pages) + kPage, size, PROT_READ | PROT_WRITE) != 0) {
    std::perror("guarded memory");
    std::abort();
  }
  return static_cast<unsigned char*>(pages) + kPage;
}

}  // namespace

Block::Block(std::size_t bytes) : data_(nullptr), size_((bytes + kPage - 1) / kPage * kPage) {
  if (auto kept = freeBlocks().find(size_); kept != freeBlocks().end()) {
    data_ = kept->second;
    freeBlocks().erase(kept);
  } else {
    data_ = map(size_);
  }
}

Block::~Block() {
  if (data_ != nullptr) freeBlocks().emplace(size_, data_);
}

Block::Block(Block&& other) noexcept : data_(std::exchange(other.data_, nullptr)), size_(other.size_) {}

Region::Region(int rows, std::ptrdiff_t rowBytes, int step, Placement placement, std::mt19937& random,
               std::ptrdiff_t before)
    : block_(static_cast<std::size_t>(rows - 1) * step + rowBytes + placement.offset), step_(step) {
  const std::size_t used = static_cast<std::size_t>(rows - 1) * step + rowBytes;
  at_ = (placement.atEnd ? block_.data() + block_.size() - used : block_.data() + placement.offset) + before;
  for (std::size_t i = 0; i + 4 <= block_.size(); i += 4) {
    const std::uint32_t word = static_cast<std::uint32_t>(random());
    std::memcpy(block_.data() + i, &word, 4);
  }
}

bool Region::equals(const std::vector<unsigned char>& copy) const {
  return std::memcmp(block_.data(), copy.data(), copy.size()) == 0;
}

}  // namespace guarded
