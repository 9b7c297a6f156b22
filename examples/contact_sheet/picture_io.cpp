#include "picture_io.h"

#include <png.h>
#include <tiffio.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace {

std::string firstBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + ": cannot be opened");
  std::string bytes(8, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

bool isPng(std::string_view bytes) { return bytes.starts_with("\x89PNG\r\n\x1a\n"); }

bool isTiff(std::string_view bytes) {
  using namespace std::string_view_literals;
  return bytes.starts_with("II*\0"sv) || bytes.starts_with("MM\0*"sv) ||  //
         bytes.starts_with("II+\0"sv) || bytes.starts_with("MM\0+"sv);
}

Image readPng(const std::string& path) {
  png_image file = {};
  file.version = PNG_IMAGE_VERSION;
  png_image_begin_read_from_file(&file, path.c_str());
  if (PNG_IMAGE_FAILED(file)) throw std::runtime_error(path + ": " + file.message);

  // What is transparent shows white.
  const png_color background = {255, 255, 255};
  file.format = PNG_FORMAT_RGB;
  Image image = newColourImage({static_cast<int>(file.width), static_cast<int>(file.height)});
  png_image_finish_read(&file, &background, image.data(), image.step, nullptr);
  if (PNG_IMAGE_FAILED(file)) throw std::runtime_error(path + ": " + file.message);
  return image;
}

Image readTiff(const std::string& path) {
  const std::unique_ptr<TIFF, decltype(&TIFFClose)> file(TIFFOpen(path.c_str(), "r"), &TIFFClose);
  if (!file) throw std::runtime_error(path + ": is no readable TIFF file");
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  TIFFGetField(file.get(), TIFFTAG_IMAGEWIDTH, &width);
  TIFFGetField(file.get(), TIFFTAG_IMAGELENGTH, &height);

  Image image = newColourImage({static_cast<int>(width), static_cast<int>(height)});
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * height);
  if (!TIFFReadRGBAImageOriented(file.get(), width, height, pixels.data(), ORIENTATION_TOPLEFT, 1)) {
    throw std::runtime_error(path + ": cannot be decoded");
  }
  // The bytes of these pixels are red, green, blue and alpha.
  check(zopiCopy_8u_AC4C3R(reinterpret_cast<const Zop8u*>(pixels.data()), static_cast<int>(width) * 4,
                           image.data(), image.step, image.size));
  return image;
}

}  // namespace

Image readPicture(const std::string& path) {
  const std::string bytes = firstBytes(path);
  if (isPng(bytes)) return readPng(path);
  if (isTiff(bytes)) return readTiff(path);
  throw std::runtime_error(path + ": is neither a PNG nor a TIFF file");
}

void writePng(const std::string& path, const Image& image) {
  png_image file = {};
  file.version = PNG_IMAGE_VERSION;
  file.width = static_cast<png_uint_32>(image.size.width);
  file.height = static_cast<png_uint_32>(image.size.height);
  file.format = PNG_FORMAT_RGB;
  png_image_write_to_file(&file, path.c_str(), 0, image.data(), image.step, nullptr);
  if (PNG_IMAGE_FAILED(file)) throw std::runtime_error(path + ": " + file.message);
}
