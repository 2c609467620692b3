//===- utf8.cpp - UTF-8 at the host's edges --------------------------------===//
#include "host/utf8.h"

#include <cstdint>

std::string utf8FromUnits(std::u16string_view wide) {
  std::string out;
  for (size_t i = 0; i < wide.size(); ++i) {
    uint32_t c = wide[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < wide.size() && wide[i + 1] >= 0xDC00 &&
        wide[i + 1] < 0xE000) {
      c = 0x10000 + ((c - 0xD800) << 10) + (wide[i + 1] - 0xDC00);
      ++i;
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

bool unitsFromUtf8(std::string_view text, std::u16string* out) {
  out->clear();
  size_t i = 0;
  while (i < text.size()) {
    auto byte = static_cast<unsigned char>(text[i]);
    int extra = byte < 0x80           ? 0
                : (byte >> 5) == 0x06 ? 1
                : (byte >> 4) == 0x0E ? 2
                : (byte >> 3) == 0x1E ? 3
                                      : -1;
    if (extra < 0 || text.size() - i <= static_cast<size_t>(extra))
      return false;
    uint32_t c = extra == 0 ? byte : byte & (0x3F >> extra);
    for (int k = 1; k <= extra; ++k) {
      auto next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xC0) != 0x80)
        return false;
      c = (c << 6) | (next & 0x3F);
    }
    static const uint32_t kMinimum[] = {0, 0x80, 0x800, 0x10000};
    if (c < kMinimum[extra] || c > 0x10FFFF)
      return false;
    if (c >= 0x10000) {
      c -= 0x10000;
      out->push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
      out->push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    } else {
      out->push_back(static_cast<char16_t>(c));
    }
    i += extra + 1;
  }
  return true;
}
