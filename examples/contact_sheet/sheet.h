// A contact sheet: captioned images in rows of equal cells.
#ifndef CONTACT_SHEET_SHEET_H_
#define CONTACT_SHEET_SHEET_H_

#include <span>

#include "image.h"
#include "tiles.h"

// The centre of the picture, made small enough for a tile by averaging squares of pixels.
Image fitToTile(const Image& picture);

// Draws every tile from a picture that fits one. Throws std::runtime_error, with the title of the tile, if
// one fails.
Image makeSheet(std::span<const Tile> tiles, const Image& picture);

#endif  // CONTACT_SHEET_SHEET_H_
