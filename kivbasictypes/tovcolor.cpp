//===- tovcolor.cpp - Colours, HSL colours and materials -----------------===//
#include "kivbasictypes/tovcolor.h"

#include "core/kivassert.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/valueblock.h"

#include <algorithm>
#include <cmath>
#include <ostream>

namespace {

constexpr const char* kAssertFile = "kivbasictypes/tovcolor";

// Hue of a grey, and the thirds and sixth of the hue circle, as floats.
constexpr float kGreyHue = 0.6666667f;
constexpr float kThird = 0.33333334f;
constexpr float kSixth = 0.16666667f;
constexpr float kTwoThirds = 0.6666667f;

// One channel of HSL to RGB at hue t, wrapped once into 0 to 1.
float hueToChannel(float p, float q, float t) {
  if (t < 0.0f)
    t += 1.0f;
  else if (t > 1.0f)
    t -= 1.0f;
  if (t < kSixth)
    return p + 6.0f * (q - p) * t;
  if (t < 0.5f)
    return q;
  if (t < kTwoThirds)
    return p + 6.0f * (q - p) * (kTwoThirds - t);
  return p;
}

}  // namespace

const KivColor KivColor::blue{0.0f, 0.0f, 1.0f, 1.0f};
const KivColor KivColor::green{0.0f, 1.0f, 0.0f, 1.0f};
const KivColor KivColor::orange{1.0f, 0.5f, 0.0f, 1.0f};
const KivColor KivColor::red{1.0f, 0.0f, 0.0f, 1.0f};
const KivColor KivColor::yellow{1.0f, 1.0f, 0.0f, 1.0f};

uint8_t KivColor::toByte(float c) {
  // Held at the ends so that an out-of-range channel cannot overflow the byte.
  if (!(c > 0.0f))
    return 0;
  if (c >= 1.0f)
    return 255;
  return static_cast<uint8_t>(c * 255.0f);
}

KivColor KivColor::fromBytes(uint8_t r, uint8_t g, uint8_t b, uint8_t a) {
  return {fromByte(r), fromByte(g), fromByte(b), fromByte(a)};
}

KivColor KivColor::contrasting() const {
  if (r + g + b < 1.0f)
    return {1.0f, 1.0f, 1.0f, 1.0f};
  return {0.0f, 0.0f, 0.0f, 1.0f};
}

double KivColor::luminance() const { return 0.3 * r + 0.59 * g + 0.11 * b; }

void KivColor::changeGamma(double from, double to) {
  KIV_ASSERT(from > 0.0, kAssertFile);
  KIV_ASSERT(to > 0.0, kAssertFile);
  if (!(from > 0.0) || !(to > 0.0))
    return;
  for (float* c : {&r, &g, &b})
    *c = static_cast<float>(std::pow(std::pow(double(*c), from), 1.0 / to));
}

void KivColor::applyContrast(double value) {
  KIV_ASSERT(value > 0.0, kAssertFile);
  if (!(value > 0.0))
    return;
  KivHslColor hsl(*this);
  const double k = 1.0 / value;
  const double l = hsl.l;
  const double curved = l > 0.5 ? std::pow(2.0 * l - 1.0, k) * 0.5 + 0.5
                                : 0.5 - std::pow(1.0 - 2.0 * l, k) * 0.5;
  hsl.setHsl(hsl.h, hsl.s, static_cast<float>(curved));
  r = hsl.r;
  g = hsl.g;
  b = hsl.b;
}

void KivHslColor::setRgb(float red, float green, float blue) {
  r = red;
  g = green;
  b = blue;
  const float hi = std::max({r, g, b});
  const float lo = std::min({r, g, b});
  l = (hi + lo) / 2.0f;
  if (hi == lo) {
    s = 0.0f;
    h = kGreyHue;
    return;
  }
  const float range = hi - lo;
  s = l <= 0.5f ? range / (hi + lo) : range / (2.0f - hi - lo);
  float sixths;
  if (r == hi)
    sixths = (g - b) / range;
  else if (g == hi)
    sixths = 2.0f + (b - r) / range;
  else
    sixths = 4.0f + (r - g) / range;
  float degrees = sixths * 60.0f;
  if (degrees < 0.0f)
    degrees += 360.0f;
  else if (degrees > 360.0f)
    degrees -= 360.0f;
  h = degrees / 360.0f;
}

void KivHslColor::setHsl(float hue, float saturation, float lightness) {
  h = hue;
  s = saturation;
  l = lightness;
  if (s == 0.0f) {
    r = g = b = l;
    return;
  }
  const float q = l <= 0.5f ? (1.0f + s) * l : l + s - l * s;
  const float p = 2.0f * l - q;
  r = hueToChannel(p, q, h + kThird);
  g = hueToChannel(p, q, h);
  b = hueToChannel(p, q, h - kThird);
}

bool operator==(const KivMaterial& x, const KivMaterial& y) {
  return x.ambient == y.ambient && x.diffuse == y.diffuse && x.specular == y.specular &&
         x.emission == y.emission && x.transmission == y.transmission &&
         x.shininess == y.shininess && x.face == y.face;
}

std::ostream& operator<<(std::ostream& os, const KivColor& c) {
  return os << ' ' << c.r << ' ' << c.g << ' ' << c.b << ' ' << c.a;
}

std::ostream& operator<<(std::ostream& os, const KivMaterial& m) {
  os << "ambient:\t" << m.ambient << std::endl;
  os << "diffuse:\t" << m.diffuse << std::endl;
  os << "specular:\t" << m.specular << std::endl;
  os << "emission:\t" << m.emission << std::endl;
  os << "transmission:\t" << m.transmission << std::endl;
  os << "shininess:\t" << m.shininess << std::endl;
  switch (m.face) {
  case KivMaterial::Front:
    os << "face:\t\tFront";
    break;
  case KivMaterial::Back:
    os << "face:\t\tBack";
    break;
  case KivMaterial::FrontAndBack:
    os << "face:\t\tFront and Back";
    break;
  default:
    break;
  }
  return os;
}

bool writeValue(BinOutput& out, const KivColor& c) {
  const float values[4] = {c.r, c.g, c.b, c.a};
  const bool written = out.write(values, 4);
  return written && out.good();
}

bool readValue(BinInput& in, KivColor& c) {
  float values[4];
  if (!in.read(values, 4))
    return false;
  c = KivColor(values[0], values[1], values[2], values[3]);
  return in.good();
}

bool writeValue(BinOutput& out, const KivHslColor& c) {
  if (!BinMagic(kHslColorMagic, 0).write(out))
    return false;
  const float values[3] = {c.r, c.g, c.b};
  return out.write(values, 3);
}

bool readValue(BinInput& in, KivHslColor& c) {
  // Identifier 0x74bb4 with a version below 1 is exactly the word of version 0.
  BinMagic magic;
  if (!magic.readExact(in, BinMagic(kHslColorMagic, 0).word()))
    return false;
  float values[3];
  if (!in.read(values, 3))
    return false;
  c.setRgb(values[0], values[1], values[2]);
  return true;
}

bool writeBlock(IKivDataModelWriter& writer, const KivColor& c) {
  writer.beginBlock(kivtag::kColor, 0);
  writer.writeFloat(c.r);
  writer.writeFloat(c.g);
  writer.writeFloat(c.b);
  writer.writeFloat(c.a);
  writer.endBlock();
  return writer.good();
}

bool readBlock(IKivDataModelReader& reader, KivColor& c) {
  bool entered = false;
  float v[4] = {};
  bool ok = enterValueBlock(reader, kivtag::kColor, &entered) && requireValueBytes(reader, 16);
  if (ok)
    for (float& channel : v)
      reader.readFloat(&channel);
  if (entered)
    reader.endBlock();
  ok = ok && reader.good();
  c = ok ? KivColor(v[0], v[1], v[2], v[3]) : KivColor();
  return ok;
}

bool writeBlock(IKivDataModelWriter& writer, const KivMaterial& m) {
  writer.beginBlock(kivtag::kMaterial, 0);
  writeBlock(writer, m.ambient);
  writeBlock(writer, m.diffuse);
  writeBlock(writer, m.specular);
  writeBlock(writer, m.emission);
  writer.writeFloat(m.transmission);
  writer.writeFloat(m.shininess);
  writer.writeInt32(m.face);
  writer.endBlock();
  return writer.good();
}

bool readBlock(IKivDataModelReader& reader, KivMaterial& m) {
  bool entered = false;
  KivMaterial read;
  bool ok = enterValueBlock(reader, kivtag::kMaterial, &entered);
  ok = ok && readBlock(reader, read.ambient) && readBlock(reader, read.diffuse) &&
       readBlock(reader, read.specular) && readBlock(reader, read.emission) &&
       requireValueBytes(reader, 12);
  if (ok) {
    reader.readFloat(&read.transmission);
    reader.readFloat(&read.shininess);
    reader.readInt32(&read.face);
  }
  if (entered)
    reader.endBlock();
  ok = ok && reader.good();
  m = ok ? read : KivMaterial();
  return ok;
}
