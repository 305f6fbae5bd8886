#include "image_io.hpp"

#include <magick/api.h>
#include <omp.h>

#include <cstdio>
#include <cstring>
#include <mutex>

namespace omb_tool {
namespace {

// Library calls take int sizes and steps: sides up to 65535 keep every
// step of every table the tool builds well inside int, and 256 Mpixel
// bounds the memory a picture can take.
constexpr int kMaxSide = 65535;
constexpr long long kMaxPixels = 1LL << 28;

// The image library keeps process-wide state; it is set up once, on first
// use, and torn down at exit so leak checkers see a clean process. Its
// set-up also resets the OpenMP thread count to its own choice, so the
// count the command line asked for is put back.
void EnsureInitialised() {
  static std::once_flag once;
  std::call_once(once, [] {
    const int threads = omp_get_max_threads();
    InitializeMagick(nullptr);
    omp_set_num_threads(threads);
    // A small file can claim an enormous picture; the decoder refuses such
    // headers before allocating instead of the tool failing afterwards.
    SetMagickResourceLimit(WidthResource, kMaxSide);
    SetMagickResourceLimit(HeightResource, kMaxSide);
    SetMagickResourceLimit(PixelsResource, kMaxPixels);
    std::atexit([] { DestroyMagick(); });
  });
}

std::string Reason(const ExceptionInfo& ex) {
  std::string r = ex.reason ? ex.reason : "unknown error";
  if (ex.description) r += std::string(" (") + ex.description + ")";
  return r;
}

bool CopyName(const std::string& path, char* dst, std::string* error) {
  if (path.empty() || path.size() >= MaxTextExtent) {
    *error = "bad file name '" + path + "'";
    return false;
  }
  std::memcpy(dst, path.c_str(), path.size() + 1);
  return true;
}

}  // namespace

bool ReadImage(const std::string& path, Image* image, std::string* error) {
  EnsureInitialised();
  if (FILE* f = std::fopen(path.c_str(), "rb")) {
    std::fclose(f);
  } else {
    *error = path + ": cannot open file";
    return false;
  }
  ImageInfo* info = CloneImageInfo(nullptr);
  ExceptionInfo ex;
  GetExceptionInfo(&ex);
  bool ok = CopyName(path, info->filename, error);
  ::Image* im = ok ? ::ReadImage(info, &ex) : nullptr;
  if (ok && im == nullptr) {
    *error = path + ": not a readable image: " + Reason(ex);
    ok = false;
  }
  if (ok && (im->columns < 1 || im->rows < 1 || im->columns > kMaxSide || im->rows > kMaxSide)) {
    *error = path + ": image size out of range";
    ok = false;
  }
  if (ok) {
    const bool grey = IsGrayImage(im, &ex) != MagickFalse;
    Image out(static_cast<int>(im->columns), static_cast<int>(im->rows), grey ? 1 : 3);
    if (DispatchImage(im, 0, 0, im->columns, im->rows, grey ? "I" : "RGB", CharPixel,
                      out.pixels.data(), &ex) != MagickPass) {
      *error = path + ": cannot convert pixels: " + Reason(ex);
      ok = false;
    } else {
      *image = std::move(out);
    }
  }
  if (im) DestroyImage(im);
  DestroyImageInfo(info);
  DestroyExceptionInfo(&ex);
  return ok;
}

bool WriteImage(const std::string& path, const Image& image, std::string* error) {
  EnsureInitialised();
  if (image.channels != 1 && image.channels != 3) {
    *error = path + ": only grey and RGB images can be written";
    return false;
  }
  ExceptionInfo ex;
  GetExceptionInfo(&ex);
  ::Image* im = ConstituteImage(static_cast<unsigned long>(image.width),
                                static_cast<unsigned long>(image.height),
                                image.channels == 1 ? "I" : "RGB", CharPixel,
                                image.pixels.data(), &ex);
  ImageInfo* info = CloneImageInfo(nullptr);
  bool ok = im != nullptr;
  if (!ok) *error = path + ": " + Reason(ex);
  if (ok) ok = CopyName(path, im->filename, error) && CopyName(path, info->filename, error);
  if (ok && image.channels == 1) {
    // Keep grey results grey in formats that could store colour.
    info->type = GrayscaleType;
    SetImageType(im, GrayscaleType);
  }
  if (ok && ::WriteImage(info, im) == MagickFail) {
    *error = path + ": cannot write: " + Reason(im->exception);
    ok = false;
  }
  if (im) DestroyImage(im);
  DestroyImageInfo(info);
  DestroyExceptionInfo(&ex);
  return ok;
}

Image ToGrey(const Image& image) {
  if (image.channels == 1) return image;
  Image g(image.width, image.height, 1);
  const std::size_t n = static_cast<std::size_t>(image.width) * image.height;
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint8_t* p = &image.pixels[3 * i];
    // Integer weights summing to 1000, rounded half up.
    g.pixels[i] = static_cast<std::uint8_t>((299 * p[0] + 587 * p[1] + 114 * p[2] + 500) / 1000);
  }
  return g;
}

Image ToRgb(const Image& image) {
  if (image.channels == 3) return image;
  Image c(image.width, image.height, 3);
  const std::size_t n = static_cast<std::size_t>(image.width) * image.height;
  for (std::size_t i = 0; i < n; ++i) {
    c.pixels[3 * i] = c.pixels[3 * i + 1] = c.pixels[3 * i + 2] = image.pixels[i];
  }
  return c;
}

}  // namespace omb_tool
