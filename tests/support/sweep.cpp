#include "support/sweep.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "support/targets.h"

namespace sweep {
namespace {

long calls = 0;

using registry::Argument;
using registry::Function;
using registry::Role;

// Samples of the last pixel of a row that belong to the image: one where the pointers address one channel of
// several, three where alpha is never touched.
int reach(const Function& function, const Argument& image) {
  const bool ofOneChannel =
      function.has(registry::kChannelOfInterest) ||
      (std::strcmp(function.sourceLayout, "C1") == 0) != (std::strcmp(function.destinationLayout, "C1") == 0);
  if (ofOneChannel && image.role != Role::Mask) return 1;
  const bool moves =
      std::strcmp(function.operation, "Copy") == 0 || std::strcmp(function.operation, "Set") == 0;
  const bool neverTouchesAlpha = moves && std::strcmp(function.sourceLayout, "AC4") == 0 &&
                                 std::strcmp(function.destinationLayout, "AC4") == 0 &&
                                 !function.has(registry::kMasked);
  return neverTouchesAlpha && image.isWritten() ? 3 : image.samples;
}

// Noise misses the ends of a type's range, where saturation and carries live.
void mixExtremes(unsigned char* data, std::size_t bytes, int sampleBytes, std::mt19937& random) {
  for (std::size_t i = 0; i + sampleBytes <= bytes; i += sampleBytes) {
    const unsigned choice = random() % 16;
    if (choice > 5) continue;
    std::memset(data + i, choice & 1 ? 0xff : 0, sampleBytes);              // 0, -1, largest unsigned
    if (choice >= 4) data[i + sampleBytes - 1] = choice & 1 ? 0x7f : 0x80;  // largest and lowest signed
    if (choice == 3) data[i] = 0xfe;
    if (choice == 2) data[i] = 1;
  }
}

// Random bits are mostly numbers of any size. Between them, numbers whose sums and quotients round, small
// whole ones and denormal ones.
void mixNumbers(unsigned char* data, std::size_t bytes, std::mt19937& random) {
  for (std::size_t i = 0; i + sizeof(Zop32f) <= bytes; i += sizeof(Zop32f)) {
    const unsigned choice = random() % 8;
    if (choice > 5) continue;
    const int r = static_cast<int>(random());
    Zop32f number = static_cast<Zop32f>(r) / 65536;
    if (choice == 0) number = static_cast<Zop32f>(r % 8);
    if (choice == 1) number = std::ldexp(static_cast<Zop32f>(r % 1024), -149);
    std::memcpy(data + i, &number, sizeof number);
  }
}

bool isFloat(const Function& function) { return std::strncmp(function.sourceType, "32f", 3) == 0; }

struct Image {
  const Argument* argument;
  std::vector<std::unique_ptr<guarded::Region>> planes;
  std::vector<std::vector<unsigned char>> before, expected;
};

Image makeImage(const Function& function, const Argument& argument, const Shape& shape,
                const registry::Halo& halo, std::mt19937& random) {
  Image image{&argument, {}, {}, {}};
  const int pixelBytes = argument.samples * argument.sampleBytes;
  const int width = shape.width + halo.left + halo.right, height = shape.height + halo.above + halo.below;
  const std::ptrdiff_t rowBytes =
      static_cast<std::ptrdiff_t>(width - 1) * pixelBytes + reach(function, argument) * argument.sampleBytes;
  const int step = width * pixelBytes + shape.padding;
  const std::ptrdiff_t before = static_cast<std::ptrdiff_t>(halo.above) * step + halo.left * pixelBytes;
  for (int p = 0; p < std::max(argument.planes, 1); ++p) {
    image.planes.push_back(
        std::make_unique<guarded::Region>(height, rowBytes, step, shape.placement, random, before));
    guarded::Region& plane = *image.planes.back();
    for (int y = 0; y < height; ++y) {
      unsigned char* row = plane.at() - before + static_cast<std::ptrdiff_t>(step) * y;
      if (argument.role == Role::Mask) {
        for (std::ptrdiff_t i = 0; i < rowBytes; ++i) row[i] = random() % 2 ? 0 : row[i];
      } else {
        if (isFloat(function)) mixNumbers(row, rowBytes, random);
        mixExtremes(row, rowBytes, argument.sampleBytes, random);
      }
    }
    image.before.push_back(plane.bytes());
    image.expected.push_back(image.before.back());
  }
  return image;
}

View view(const Image& image, std::vector<std::vector<unsigned char>>& bytes) {
  View result;
  result.planes = image.argument->planes;
  result.step = image.planes[0]->step();
  result.samples = image.argument->samples;
  result.sampleBytes = image.argument->sampleBytes;
  for (std::size_t p = 0; p < image.planes.size(); ++p) result.plane[p] = image.planes[p]->in(bytes[p]);
  return result;
}

std::string describe(const Call& call, const Shape& shape) {
  std::string text =
      std::string(call.function.name) + " on " + std::to_string(shape.width) + "x" +
      std::to_string(shape.height) + ", padding " + std::to_string(shape.padding) +
      (shape.placement.atEnd ? ", at the end" : ", at offset " + std::to_string(shape.placement.offset)) +
      ", parameters";
  for (const registry::Value& p : call.parameters) text += " " + std::to_string(p.get<int>());
  return text;
}

// Says at the end how much a program compared.
class Report : public testing::Environment {
  void TearDown() override {
    if (calls > 0) std::printf("%ld calls compared with their reference\n", calls);
  }
};
[[maybe_unused]] const testing::Environment* const report = testing::AddGlobalTestEnvironment(new Report);

// Where the reference leaves open which not-a-number a result is, takes over the one that came out.
void acceptAnyNaN(std::vector<unsigned char>& expected, const std::vector<unsigned char>& actual,
                  const View& v, ZopImageSize size) {
  const Zop32f any = anyNaN();
  for (int y = 0; y < size.height; ++y) {
    const std::ptrdiff_t begin = v.plane[0] - expected.data() + static_cast<std::ptrdiff_t>(v.step) * y;
    const std::ptrdiff_t bytes =
        static_cast<std::ptrdiff_t>(actual.size());  // a last pixel may be a part of one
    for (std::ptrdiff_t i = 0;
         begin + i + 4 <= bytes && i < static_cast<std::ptrdiff_t>(size.width) * v.samples * v.sampleBytes;
         i += 4) {
      Zop32f number;
      std::memcpy(&number, &actual[begin + i], sizeof number);
      if (std::isnan(number) && std::memcmp(&expected[begin + i], &any, sizeof any) == 0)
        std::memcpy(&expected[begin + i], &number, sizeof number);
    }
  }
}

// Results are the same bit by bit, but for doubles and floats that are not numbers, and the sign of a zero.
bool sameResult(const unsigned char* expected, const unsigned char* actual, int bytes) {
  const auto same = [&](auto a, auto b) {
    std::memcpy(&a, expected, sizeof a);
    std::memcpy(&b, actual, sizeof b);
    return a == b ? a == 0 : std::isnan(a) && std::isnan(b);
  };
  if (std::memcmp(expected, actual, bytes) == 0) return true;
  return bytes == 8 ? same(0.0, 0.0) : bytes == 4 && same(0.0f, 0.0f);
}

// Makes one call and compares it. False at a difference.
bool compare(const Function& function, const Shape& shape, const std::vector<registry::Value>& parameters,
             const Constants& constants, const Reference& reference, std::mt19937& random) {
  std::vector<registry::Value> parametersInPlace;
  for (std::size_t i = 0, next = 0; i < function.arguments.size(); ++i) {
    const bool isParameter = function.arguments[i].role == Role::Value;
    parametersInPlace.push_back(isParameter ? parameters.at(next++) : registry::Value());
  }
  std::vector<Image> images;
  images.reserve(function.arguments.size());
  for (const Argument& argument : function.arguments) {
    if (!argument.isImage()) continue;
    images.push_back(
        makeImage(function, argument, shape, function.halo(argument, parametersInPlace), random));
  }
  // Constants and results stand at the end of their memory: a sample too many is a fault.
  std::vector<std::unique_ptr<guarded::Region>> constantMemory, resultMemory;
  std::vector<std::vector<unsigned char>> expectedResults;
  std::vector<const Argument*> resultArguments;
  Call call{function, {shape.width, shape.height}, {}, {}, {}, {}, parameters, {}};
  std::vector<registry::Value> values;
  std::vector<std::vector<void*>> planePointers;
  planePointers.reserve(images.size());
  std::size_t nextImage = 0, nextParameter = 0;
  Image* written = nullptr;
  for (const Argument& argument : function.arguments) {
    if (argument.isImage()) {
      Image& image = images[nextImage++];
      if (argument.planes > 0) {
        std::vector<void*> pointers;
        for (auto& plane : image.planes) pointers.push_back(plane->at());
        planePointers.push_back(pointers);
        values.emplace_back(planePointers.back().data());
      } else {
        values.emplace_back(image.planes[0]->at());
      }
      if (argument.role == Role::Mask) call.mask = view(image, image.before);
      if (argument.role == Role::Source || argument.role == Role::InPlace) {
        call.sources.push_back(view(image, image.before));
      }
      if (argument.isWritten()) {
        call.destination = view(image, image.expected);
        written = &image;
      }
    } else if (argument.role == Role::Step) {
      values.emplace_back(images[nextImage - 1].planes[0]->step());
    } else if (argument.role == Role::Size) {
      values.emplace_back(call.size);
    } else if (argument.role == Role::Result) {
      const int bytes = argument.samples * argument.sampleBytes;
      resultMemory.push_back(
          std::make_unique<guarded::Region>(1, bytes, bytes, guarded::Placement{}, random));
      expectedResults.push_back(resultMemory.back()->bytes());
      resultArguments.push_back(&argument);
      call.results.push_back(resultMemory.back()->in(expectedResults.back()));
      values.emplace_back(resultMemory.back()->at());
    } else if (argument.role == Role::Constant || argument.role == Role::Sample) {
      const int bytes = argument.samples * argument.sampleBytes;
      constantMemory.push_back(
          std::make_unique<guarded::Region>(1, bytes, bytes, guarded::Placement{}, random));
      unsigned char* at = constantMemory.back()->at();
      if (isFloat(function)) mixNumbers(at, bytes, random);
      mixExtremes(at, bytes, argument.sampleBytes, random);
      if (call.constants.size() < constants.size()) {
        const auto& given = constants[call.constants.size()];
        std::copy_n(given.begin(), std::min<std::size_t>(given.size(), bytes), at);
      }
      call.constants.push_back(at);
      registry::Value sample;
      std::memcpy(static_cast<void*>(&sample), at, std::min(bytes, 8));
      values.push_back(argument.role == Role::Sample ? sample : registry::Value(at));
    } else {
      values.push_back(parameters.at(nextParameter++));
    }
  }

  const ZopStatus expected = reference(call);
  const ZopStatus status = function.invoke(values.data());
  ++calls;
  if (written != nullptr && written->argument->planes == 0 && written->argument->sampleBytes >= 4) {
    acceptAnyNaN(written->expected[0], written->planes[0]->bytes(), call.destination, call.size);
  }
  if (status != expected) {
    ADD_FAILURE() << describe(call, shape) << ": status " << status << ", not " << expected;
    return false;
  }
  for (std::size_t r = 0; r < resultMemory.size(); ++r) {
    const Argument& argument = *resultArguments[r];
    if (resultMemory[r]->equals(expectedResults[r])) continue;
    for (int i = 0; i < argument.samples; ++i) {
      const int at = i * argument.sampleBytes;
      if (sameResult(call.results[r] + at, resultMemory[r]->at() + at, argument.sampleBytes)) continue;
      ADD_FAILURE() << describe(call, shape) << ": " << argument.name << "[" << i << "] differs";
      return false;
    }
    std::memcpy(call.results[r], resultMemory[r]->at(), argument.samples * argument.sampleBytes);
    if (!resultMemory[r]->equals(expectedResults[r])) {
      ADD_FAILURE() << describe(call, shape) << ": wrote beyond " << argument.name;
      return false;
    }
  }
  for (const Image& image : images) {
    for (std::size_t p = 0; p < image.planes.size(); ++p) {
      const auto& bytes = &image == written ? image.expected[p] : image.before[p];
      if (image.planes[p]->equals(bytes)) continue;
      const auto now = image.planes[p]->bytes();
      const auto first = std::mismatch(now.begin(), now.end(), bytes.begin());
      ADD_FAILURE() << describe(call, shape) << ": " << image.argument->name << " differs at byte "
                    << (&*first.second - image.planes[p]->in(const_cast<std::vector<unsigned char>&>(bytes)))
                    << " of plane " << p << ": " << int(*first.first) << ", not " << int(*first.second);
      return false;
    }
  }
  return true;
}

}  // namespace

Zop32f anyNaN() { return std::bit_cast<Zop32f>(std::uint32_t{0x7fc0a11e}); }

std::vector<Shape> shapes(const Function& function) {
  int sampleBytes = 1;
  for (const Argument& argument : function.arguments) {
    if (argument.isWritten()) sampleBytes = argument.sampleBytes;
  }
  const int lanes = 64 / std::min(sampleBytes, 8);
  std::vector<Shape> result;
  for (int width = 1; width <= 2 * lanes + 3; ++width) {
    const bool gapFree = width % 3 == 0;
    const int padding = gapFree ? 0 : width % 2 == 0 ? 3 * sampleBytes : 8 * sampleBytes + (width % 4);
    result.push_back({width, 1 + width % 3, padding, {true, 0}});
    result.push_back({width, 2, padding, {false, (width * 7) % 64}});
  }
  for (int offset = 0; offset < 64; ++offset) result.push_back({lanes + 5, 2, offset % 3, {false, offset}});
  for (const int width : {257, 1023, 4099}) result.push_back({width, 2, 5, {true, 0}});
  return result;
}

void run(const Function& function, const Options& options, const Reference& reference,
         const std::vector<Shape>& shapes) {
  std::mt19937 random(static_cast<unsigned>(std::strlen(function.name)));
  for (const Shape& shape : shapes) {
    for (const auto& parameters : options.parameters) {
      for (const auto& constant : options.constants) {
        if (!compare(function, shape, parameters, constant, reference, random)) return;
      }
    }
  }
}

std::vector<const Function*> functionsOf(const std::string& operation,
                                         const std::vector<std::string>& types) {
  std::vector<const Function*> result;
  for (const Function& function : registry::functions()) {
    const bool ofType =
        types.empty() || std::find(types.begin(), types.end(), function.sourceType) != types.end();
    if (function.operation == operation && ofType) result.push_back(&function);
  }
  return result;
}

void onEveryTarget(const std::function<void()>& body) {
  const int team = omp_get_max_threads();
  omp_set_num_threads(1);
  targets::forEach([&](const std::string& name) {
    SCOPED_TRACE("on " + name);
    body();
  });
  omp_set_num_threads(team);
}

void onEveryTargetAndTeam(const std::function<void(bool everyShape)>& body) {
  onEveryTarget([&] { body(true); });
  const int team = omp_get_max_threads();
  for (const int threads : {2, 3, 5}) {
    SCOPED_TRACE("with a team of " + std::to_string(threads));
    omp_set_num_threads(threads);
    body(false);
  }
  omp_set_num_threads(team);
}

}  // namespace sweep
