#include "zopi/core.h"

namespace zopi {
namespace {

constexpr ZopLibraryVersion kVersion = {
    3, 0, 18, 54, {'m', '6', 0, 0}, "zopim6.dll", "v3.0 gold", "Nov 26 2002",
};

const ZopLibraryVersion* libraryVersion() { return &kVersion; }

}  // namespace
}  // namespace zopi

#include "core/version.exports.inc"
