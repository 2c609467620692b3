//===- imagecard.h - dmtool image: a test card in every format --*- C++ -*-===//
//
// drawTestCard fills an image with gradients, a 16-pixel grid, a border and
// the two diagonals, with no text; the same size and channels always give
// the same pixels. writeTestCard saves it through the library's own writers
// (PPM, BMP, SGI RGB, TIFF) or the host's (PNG, JPEG), as the user checks
// them on a system.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <string>

class KivImage;

// The formats by name or extension: "ppm", "bmp", "rgb" (also "sgi"),
// "tif" (also "tiff"), "png", "jpg" (also "jpeg"). Empty if unknown.
std::string imageFormatName(const std::string& text);

void drawTestCard(KivImage& image);

// Writes a card of width × height × channels to `path` in `format` (one of
// imageFormatName's results). The library's writers put their own
// extension on the path; *written receives the file's real path. False with
// *error on failure.
bool writeTestCard(const std::string& path, const std::string& format, int width, int height,
                   int channels, std::string* written, std::string* error);
