// Shows on one sheet what the functions of the library make of a picture.
#include <cstdio>
#include <exception>

#include "picture_io.h"
#include "sheet.h"
#include "tiles.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: contact_sheet INPUT OUTPUT.png\n");
    return 2;
  }
  try {
    const Image picture = fitToTile(readPicture(argv[1]));
    writePng(argv[2], makeSheet(tiles(), picture));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "contact_sheet: %s\n", error.what());
    return 1;
  }
}
