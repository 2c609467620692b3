//===- kivstring.h - 16-bit strings for everything shown --------*- C++ -*-===//
//
// KivString holds 16-bit units (char16_t) and caches an 8-bit form (c_str) and
// a UTF-8 form (utf8Text). Each of the three pointers is null, a view (capacity
// 0, not owned) or owned. Writing operations first make a view owned.
//
//  - 8-bit text is widened as *signed* bytes: 0xE9 becomes 0xFFE9. No code page.
//  - c_str drops every unit >= 128 unless the host's IKivStrSupport converts.
//  - Null and empty compare equal; both sort before every other string.
//  - c_str and utf8Text write into the object even when it is const; a string
//    belongs to one thread.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivcstring.h"

#include <cstdint>
#include <iosfwd>

using KivChar = char16_t;

// Output format of doubles: "%" + spec + 'f' / 'e' / 'g'.
class KivNumberFormat {
public:
  KivNumberFormat(const char* spec, bool useExponent, bool upperForm);
  KivNumberFormat(const KivNumberFormat& other);
  KivNumberFormat& operator=(const KivNumberFormat& other);
  ~KivNumberFormat();

  // The format in use throughout the system: ".2", both flags 0.
  static const KivNumberFormat& standard();

  uint8_t useExponent;
  uint8_t upperForm;
  char* spec;
};

class KivString {
public:
  KivString() = default;
  KivString(const char* text, int32_t length = -1);  // widened as signed bytes
  KivString(const KivChar* text, int32_t length = -1);
  KivString(const KivString& other);
  KivString(KivString&& other) noexcept;
  ~KivString();

  // Numbers: int "%d", double "%e" above 1e10 in magnitude else "%f".
  explicit KivString(int value);
  KivString(int value, const char* spec);
  KivString(long value, const char* spec);
  KivString(long long value, const char* spec);
  explicit KivString(double value);
  KivString(double value, const KivNumberFormat& format);
  explicit KivString(unsigned int value);
  explicit KivString(unsigned long long value);

  // Keeps the 8-bit literal as the narrow view that c_str hands back.
  static KivString fromLiteral(const char* literal);
  // UTF-8 to units; any broken sequence gives the empty string, never a part.
  static KivString fromUtf8(const char* text);

  KivString& operator=(const KivString& other);
  KivString& operator=(KivString&& other) noexcept;
  KivString& operator=(const char* text);
  KivString& operator=(const KivChar* text);
  KivString& assign(const char* text, int32_t length);
  KivString& assign(const KivChar* text, int32_t length);

  int32_t length() const;
  bool isEmpty() const { return !wide_ || !*wide_; }
  bool isNull() const { return !wide_; }
  KivChar at(int32_t i) const { return wide_[i]; }
  const KivChar* wide() const { return wide_; }
  int32_t wideCapacity() const { return wideCapacity_; }
  // Never null.
  const KivChar* wideText() const;
  const char* c_str() const;
  const char* utf8Text() const;

  friend bool operator==(const KivString& a, const KivString& b);
  friend bool operator!=(const KivString& a, const KivString& b) { return !(a == b); }
  // Against 8-bit text, widened as signed bytes, without building a string.
  friend bool operator==(const KivString& a, const char* b);
  int compare(const KivString& other) const;
  int compare(const char* other) const;
  int compareLocale(const KivString& other) const;
  friend bool operator<(const KivString& a, const KivString& b) { return a.compare(b) < 0; }

  int32_t find(const KivString& text, int32_t start = 0) const;
  int32_t find(KivChar c, int32_t start = 0) const;
  int32_t findNth(const KivString& text, int32_t n) const;
  bool contains(const KivString& what, bool matchCase) const;

  KivString substr(int32_t start, int32_t count) const;
  KivString from(int32_t start) const;
  KivString left(int32_t count) const;
  KivString replace(int32_t start, int32_t end, const KivString& text) const;
  KivString& removeAt(int32_t start, int32_t count);
  KivString& truncate(int32_t position);
  KivString& append(const KivString& text);
  KivString& append(const char* text);
  KivString& append(KivChar c);
  KivString& operator+=(const KivString& text) { return append(text); }
  friend KivString operator+(const KivString& a, const KivString& b);
  KivString& makeOwned();

  KivString toLower() const;
  KivString toUpper() const;
  KivString withoutSpace() const;
  static bool isSpace(int c);
  static bool isDigit(int c);

  double toDouble(bool* ok = nullptr) const;
  int toInt(bool* ok = nullptr) const;
  // The sum of the 16-bit units.
  uint32_t hash() const;

  // Moves the UTF-8 buffer into `out`; `s` keeps no UTF-8 form afterwards.
  friend void takeUtf8(KivCString& out, KivString& s);

  // Process-wide constants, released by releaseStringConstants().
  static const KivString& empty();
  static const KivString& space();

  // Replaces the buffer by one the caller allocated with allocBuffer.
  void adoptWide(KivChar* buffer, int32_t capacity);

private:
  void freeAll();
  void dropCaches() const;
  // Appends `count` units in place or into a new buffer; `units` may point
  // into this string.
  void appendUnits(const KivChar* units, int32_t count);

  KivChar* wide_ = nullptr;
  int32_t wideCapacity_ = 0;
  mutable char* narrow_ = nullptr;
  mutable int32_t narrowCapacity_ = 0;
  mutable char* utf8_ = nullptr;
  mutable int32_t utf8Capacity_ = 0;
};

void releaseStringConstants();
std::ostream& operator<<(std::ostream& os, const KivString& s);
