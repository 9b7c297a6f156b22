// Lines of text drawn into an image.
#ifndef CONTACT_SHEET_TEXT_H_
#define CONTACT_SHEET_TEXT_H_

#include <string_view>

#include "image.h"

struct TextStyle {
  int height;  // of the letters, in pixels
  Zop8u colour[3];
};

// Draws a line of ASCII text from `start`, a point on the line the letters stand on. What would leave the
// image is cut off. Throws std::runtime_error if there is no font.
void drawText(const Image& image, ZopImagePoint start, std::string_view text, const TextStyle& style);

#endif  // CONTACT_SHEET_TEXT_H_
