#include "text.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <stdexcept>

namespace {

// The font of all captions, loaded once.
FT_Face font() {
  static const FT_Face face = [] {
    FT_Library library = nullptr;
    FT_Face loaded = nullptr;
    if (FT_Init_FreeType(&library) != 0 || FT_New_Face(library, CONTACT_SHEET_FONT, 0, &loaded) != 0) {
      throw std::runtime_error("the font " CONTACT_SHEET_FONT " cannot be loaded");
    }
    return loaded;
  }();
  return face;
}

// The glyph is the share of colour in every pixel, 0..255.
void blendGlyph(const Image& image, ZopImagePoint corner, const FT_Bitmap& glyph, const Zop8u colour[3]) {
  for (int y = 0; y < static_cast<int>(glyph.rows); ++y) {
    for (int x = 0; x < static_cast<int>(glyph.width); ++x) {
      const ZopImagePoint at = {corner.x + x, corner.y + y};
      if (at.x < 0 || at.y < 0 || at.x >= image.size.width || at.y >= image.size.height) continue;
      const int share = glyph.buffer[y * glyph.pitch + x];
      Zop8u* pixel = image.row(at.y) + at.x * 3;
      for (int c = 0; c < 3; ++c) {
        pixel[c] = static_cast<Zop8u>((pixel[c] * (255 - share) + colour[c] * share + 127) / 255);
      }
    }
  }
}

}  // namespace

void drawText(const Image& image, ZopImagePoint start, std::string_view text, const TextStyle& style) {
  const FT_Face face = font();
  FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(style.height));
  for (const char letter : text) {
    if (FT_Load_Char(face, static_cast<FT_ULong>(letter), FT_LOAD_RENDER) != 0) continue;
    const FT_GlyphSlot glyph = face->glyph;
    blendGlyph(image, {start.x + glyph->bitmap_left, start.y - glyph->bitmap_top}, glyph->bitmap,
               style.colour);
    start.x += static_cast<int>(glyph->advance.x / 64);
  }
}
