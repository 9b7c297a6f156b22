#include "sheet.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "text.h"

namespace {

constexpr ZopImageSize kTile = {384, 256};
constexpr int kColumns = 4;
constexpr int kMargin = 28;
constexpr int kCaption = 66;
constexpr ZopImageSize kCell = {kTile.width + kMargin, kTile.height + kCaption + kMargin};

constexpr Zop8u kPaper[3] = {250, 250, 248};
constexpr TextStyle kTitle = {17, {24, 24, 28}};
constexpr TextStyle kFunctions = {14, {92, 92, 104}};

Image blankSheet(int tileCount) {
  const int rows = (tileCount + kColumns - 1) / kColumns;
  Image sheet = newColourImage({kMargin + kColumns * kCell.width, kMargin + rows * kCell.height});
  check(zopiSet_8u_C3R(kPaper, sheet.data(), sheet.step, sheet.size));
  return sheet;
}

// The means of the channels, and the range of all samples.
std::string statistics(const Image& image) {
  double mean[3];
  Zop8u low[3], high[3];
  check(zopiMean_8u_C3R(image.data(), image.step, image.size, mean));
  check(zopiMinMax_8u_C3R(image.data(), image.step, image.size, low, high));
  char text[80];
  std::snprintf(text, sizeof text, "mean %.1f, %.1f, %.1f; from %d to %d", mean[0], mean[1], mean[2],
                *std::min_element(low, low + 3), *std::max_element(high, high + 3));
  return text;
}

void place(const Image& sheet, ZopImagePoint corner, const Tile& tile, const Image& picture) {
  const Image drawn = tile.draw(picture);
  // A small picture stands in the middle of its tile.
  const int x = corner.x + (kTile.width - drawn.size.width) / 2;
  const int y = corner.y + (kTile.height - drawn.size.height) / 2;
  check(zopiCopy_8u_C3R(drawn.data(), drawn.step, sheet.row(y) + x * 3, sheet.step, drawn.size));

  const int below = corner.y + kTile.height;
  drawText(sheet, {corner.x, below + 22}, tile.title, kTitle);
  drawText(sheet, {corner.x, below + 42}, tile.functions, kFunctions);
  drawText(sheet, {corner.x, below + 62}, statistics(drawn).c_str(), kFunctions);
}

}  // namespace

Image fitToTile(const Image& picture) {
  const int factor =
      std::max(1, std::min(picture.size.width / kTile.width, picture.size.height / kTile.height));
  const ZopImageSize size = {std::clamp(picture.size.width / factor, 1, kTile.width),
                             std::clamp(picture.size.height / factor, 1, kTile.height)};
  const int left = (picture.size.width - size.width * factor) / 2;
  const int top = (picture.size.height - size.height * factor) / 2;

  Image small = newColourImage(size);
  for (int y = 0; y < size.height; ++y) {
    for (int i = 0; i < size.width * 3; ++i) {
      const int first = (left + i / 3 * factor) * 3 + i % 3;
      std::int64_t sum = 0;
      for (int dy = 0; dy < factor; ++dy) {
        const Zop8u* row = picture.row(top + y * factor + dy) + first;
        for (int dx = 0; dx < factor; ++dx) sum += row[dx * 3];
      }
      small.row(y)[i] = static_cast<Zop8u>(sum / (factor * factor));
    }
  }
  return small;
}

Image makeSheet(std::span<const Tile> tiles, const Image& picture) {
  Image sheet = blankSheet(static_cast<int>(tiles.size()));
  for (int i = 0; i < static_cast<int>(tiles.size()); ++i) {
    const ZopImagePoint corner = {kMargin + i % kColumns * kCell.width,
                                  kMargin + i / kColumns * kCell.height};
    try {
      place(sheet, corner, tiles[i], picture);
    } catch (const std::runtime_error& error) {
      throw std::runtime_error("tile \"" + std::string(tiles[i].title) + "\": " + error.what());
    }
  }
  return sheet;
}
