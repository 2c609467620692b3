//===- tovcolor.h - Colours, HSL colours and materials ----------*- C++ -*-===//
//
// KivColor holds r, g, b, a as floats, each nominally 0 to 1; a default colour
// is grey (0.5, 0.5, 0.5, 1). A colour byte and a float convert by x255 and
// /255 with truncation. Decided, and kept: a channel outside 0 to 1 is
// clamped before it is packed into a byte (below 0 and NaN give 0, 1 and
// above give 255), which is safer than letting the conversion overflow. KivHslColor keeps the RGB triple and its hue,
// saturation and lightness (all 0 to 1) in step; a grey reports hue 2/3, and
// a default one is white (h 2/3, s 0, l 1).
// KivMaterial is four colours, transmission, shininess and the face it
// applies to; a default material is zero in every field, the colours included.
// All three are laid out exactly as their fields.
//
// Equality of colours and materials compares floats with ==, so a NaN makes
// two values unequal, also a value and itself.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>
#include <iosfwd>
#include <type_traits>

class BinInput;
class BinOutput;
class IKivDataModelReader;
class IKivDataModelWriter;

struct KivColor {
  float r = 0.5f;
  float g = 0.5f;
  float b = 0.5f;
  float a = 1.0f;

  constexpr KivColor() = default;
  constexpr KivColor(float r_, float g_, float b_, float a_ = 1.0f) : r(r_), g(g_), b(b_), a(a_) {}

  static const KivColor blue;
  static const KivColor green;
  static const KivColor orange;
  static const KivColor red;
  static const KivColor yellow;

  // c·255 truncated; values outside 0 to 1 are held at 0 and 255.
  static uint8_t toByte(float c);
  static float fromByte(uint8_t byte) { return byte / 255.0f; }
  static KivColor fromBytes(uint8_t r, uint8_t g, uint8_t b, uint8_t a = 255);

  // White on a dark colour (r + g + b < 1), black otherwise.
  KivColor contrasting() const;
  double luminance() const;
  // c = (c^from)^(1/to) on r, g, b; both must be positive.
  void changeGamma(double from, double to);
  // S-shaped lightness curve about 0.5: steeper for value > 1.
  void applyContrast(double value);

  friend bool operator==(const KivColor& x, const KivColor& y) {
    return x.r == y.r && x.g == y.g && x.b == y.b && x.a == y.a;
  }
  friend bool operator!=(const KivColor& x, const KivColor& y) { return !(x == y); }
};

struct KivHslColor {
  float r = 1.0f;
  float g = 1.0f;
  float b = 1.0f;
  float h = 0.6666667f;
  float s = 0.0f;
  float l = 1.0f;

  constexpr KivHslColor() = default;
  explicit KivHslColor(const KivColor& c) { setRgb(c.r, c.g, c.b); }

  // Sets the triple and recomputes h, s, l.
  void setRgb(float red, float green, float blue);
  // Sets h, s, l and recomputes the triple.
  void setHsl(float hue, float saturation, float lightness);
  KivColor toColor(float alpha = 1.0f) const { return {r, g, b, alpha}; }
};

struct KivMaterial {
  enum Face : int32_t { Front = 0, Back = 1, FrontAndBack = 2 };

  KivColor ambient{0, 0, 0, 0};
  KivColor diffuse{0, 0, 0, 0};
  KivColor specular{0, 0, 0, 0};
  KivColor emission{0, 0, 0, 0};
  float transmission = 0.0f;
  float shininess = 0.0f;
  int32_t face = Front;

  constexpr KivMaterial() = default;

  friend bool operator==(const KivMaterial& x, const KivMaterial& y);
  friend bool operator!=(const KivMaterial& x, const KivMaterial& y) { return !(x == y); }
};

static_assert(sizeof(KivColor) == 16 && std::is_trivially_copyable_v<KivColor>);
static_assert(sizeof(KivHslColor) == 24 && std::is_trivially_copyable_v<KivHslColor>);
static_assert(sizeof(KivMaterial) == 76 && std::is_trivially_copyable_v<KivMaterial>);

// Bare stream form of KivColor: r, g, b, a as big-endian floats. Both give
// the typed transfer's result together with the stream's good(); a short
// read leaves the colour as it was.
bool writeValue(BinOutput& out, const KivColor& c);
bool readValue(BinInput& in, KivColor& c);
// KivHslColor as its own record: the tag word (0x74bb4 << 8 | 0), then r, g, b
// as floats. Reading refuses another identifier or a version above 0 and
// recomputes h, s, l from the triple; a refused or short record leaves the
// colour as it was.
inline constexpr int32_t kHslColorMagic = 0x74bb4;
bool writeValue(BinOutput& out, const KivHslColor& c);
bool readValue(BinInput& in, KivHslColor& c);

// Typed blocks of the data-model file, version 0. Colour: block 0x10001 with
// r, g, b, a as floats. Material: block 0x10002 with the four colours, each
// as its own colour block, then transmission and shininess as floats and face
// as a 32-bit integer. Writing gives the writer's good(). Reading a block of
// another tag, or a short one, turns the reader bad and gives the type's
// default value (grey; an all-zero material) and false.
bool writeBlock(IKivDataModelWriter& writer, const KivColor& c);
bool readBlock(IKivDataModelReader& reader, KivColor& c);
bool writeBlock(IKivDataModelWriter& writer, const KivMaterial& m);
bool readBlock(IKivDataModelReader& reader, KivMaterial& m);

// For each channel a blank, then the number: " r g b a".
std::ostream& operator<<(std::ostream& os, const KivColor& c);
// Six lines "ambient:\t..." to "shininess:\t...", then the face line without
// an end of line; no face line for an unknown face.
std::ostream& operator<<(std::ostream& os, const KivMaterial& m);
