// Picture files: PNG and TIFF in, PNG out.
#ifndef CONTACT_SHEET_PICTURE_IO_H_
#define CONTACT_SHEET_PICTURE_IO_H_

#include <string>

#include "image.h"

// Reads a picture as 8-bit RGB, whatever its file holds. The first bytes of the file tell its format. Throws
// std::runtime_error if the file cannot be read.
Image readPicture(const std::string& path);

// Writes an 8-bit RGB image. Throws std::runtime_error if the file cannot be written.
void writePng(const std::string& path, const Image& image);

#endif  // CONTACT_SHEET_PICTURE_IO_H_
