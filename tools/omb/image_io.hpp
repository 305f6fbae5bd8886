// Image files for the omb tool: reading and writing PNG, JPEG and PGM/PPM
// through GraphicsMagick, into plain interleaved 8-bit buffers the library
// functions take directly.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace omb_tool {

// An 8-bit image with 1 (grey) or 3 (RGB) interleaved channels and rows
// packed without padding, so step() is the row step in bytes.
struct Image {
  int width = 0;
  int height = 0;
  int channels = 0;
  std::vector<std::uint8_t> pixels;

  Image() = default;
  Image(int w, int h, int c, std::uint8_t fill = 0)
      : width(w), height(h), channels(c),
        pixels(static_cast<std::size_t>(w) * h * c, fill) {}
  int step() const { return width * channels; }
  std::uint8_t* row(int y) { return pixels.data() + static_cast<std::size_t>(y) * step(); }
  const std::uint8_t* row(int y) const {
    return pixels.data() + static_cast<std::size_t>(y) * step();
  }
};

// Reads any format the image library knows. Greyscale files give a 1-channel
// image, everything else 3 channels (alpha is dropped). On failure returns
// false and a message naming the file and the reason.
bool ReadImage(const std::string& path, Image* image, std::string* error);

// Writes a 1- or 3-channel image; the format follows the file extension
// (.png, .jpg/.jpeg, .pgm, .ppm, ...).
bool WriteImage(const std::string& path, const Image& image, std::string* error);

// Luma of an RGB image (0.299 R + 0.587 G + 0.114 B, rounded); a grey image
// is returned as it is.
Image ToGrey(const Image& image);

// An RGB copy of a grey or RGB image, for drawing results in colour.
Image ToRgb(const Image& image);

}  // namespace omb_tool
