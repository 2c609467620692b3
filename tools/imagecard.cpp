//===- imagecard.cpp - dmtool image: a test card in every format ----------===//
#include "tools/imagecard.h"

#include "base/basic/kivimage.h"
#include "host/referencehost.h"
#include "kivbasictypes/kivfilepath.h"
#include "kivbasictypes/kivstring.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

std::string imageFormatName(const std::string& text) {
  std::string name = text;
  for (char& c : name)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (name == "ppm" || name == "bmp" || name == "rgb" || name == "png")
    return name;
  if (name == "sgi")
    return "rgb";
  if (name == "tif" || name == "tiff")
    return "tif";
  if (name == "jpg" || name == "jpeg")
    return "jpg";
  return std::string();
}

void drawTestCard(KivImage& image) {
  const int w = image.width(), h = image.height(), d = image.depth();
  if (w <= 0 || h <= 0 || d <= 0)
    return;
  const int spanX = std::max(w - 1, 1), spanY = std::max(h - 1, 1);
  for (int y = 0; y < h; ++y) {
    uint8_t* p = image.row(y);
    for (int x = 0; x < w; ++x, p += d) {
      int r = x * 255 / spanX;
      int g = y * 255 / spanY;
      int b = (x + y) * 255 / (spanX + spanY);
      const int a = 255 - (x * 3 + y * 5) % 192;
      if (x % 16 == 15 || y % 16 == 15)
        r = g = b = 255;
      const int grey = (r * 30 + g * 59 + b * 11) / 100;
      const int values[4] = {d < 3 ? grey : r, d < 3 ? a : g, b, a};
      for (int c = 0; c < d; ++c)
        p[c] = static_cast<uint8_t>(values[c]);
    }
  }
  const float black[4] = {0, 0, 0, 1};
  const float yellow[4] = {1, 1, 0, 1};
  image.drawLine(0, 0, w - 1, h - 1, yellow, false);
  image.drawLine(w - 1, 0, 0, h - 1, yellow, false);
  image.drawBorder(1, black);
}

namespace {

// A quiet host that never aborts, for the services the image asks for.
// One per process, never taken down (see referencehost.h).
ReferenceHost& imageHost() {
  static ReferenceHost* host = [] {
    ReferenceHostOptions options;
    options.echo = false;
    options.abortOnAssert = false;
    options.logFile = false;
    return new ReferenceHost(options);
  }();
  return *host;
}

} // namespace

bool writeTestCard(const std::string& path, const std::string& format, int width, int height,
                   int channels, std::string* written, std::string* error) {
  imageHost();
  IPtr<KivImage> image(new KivImage(width, height, channels));
  drawTestCard(*image);
  KivString target = KivString::fromUtf8(path.c_str());
  bool ok = false;
  if (format == "ppm" || format == "bmp" || format == "rgb" || format == "tif") {
    setPathExtension(target, KivString(format.c_str()));
    if (format == "ppm")
      ok = image->writePpm(target);
    else if (format == "bmp")
      ok = image->writeBmp(target, false);
    else if (format == "rgb")
      ok = image->writeRgb(target);
    else
      ok = image->writeTiff(target);
  } else if (format == "png" || format == "jpg") {
    ok = image->save(target, format == "png" ? "PNG" : "JPEG", false, 90);
    if (pathExtension(target).isEmpty())
      setPathExtension(target, KivString(format == "png" ? "PNG" : "jpg"));
  } else {
    *error = "unknown format '" + format + "'";
    return false;
  }
  *written = target.utf8Text() ? target.utf8Text() : path;
  if (!ok)
    *error = "cannot write " + *written;
  return ok;
}
