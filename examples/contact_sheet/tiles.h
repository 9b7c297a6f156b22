// The tiles of the sheet: each shows what some functions of the library make of a picture.
#ifndef CONTACT_SHEET_TILES_H_
#define CONTACT_SHEET_TILES_H_

#include <span>

#include "image.h"

struct Tile {
  const char* title;
  const char* functions;  // the functions of the library it shows
  Image (*draw)(const Image& picture);
};

std::span<const Tile> tiles();

#endif  // CONTACT_SHEET_TILES_H_
