//===- kivcstring.h - 8-bit strings for identifiers -------------*- C++ -*-===//
//
// KivCString carries interface, property and event names and keys. It either
// owns its buffer (capacity > 0) or is a view of text it does not own
// (capacity 0): KivCString::view("Name") costs no allocation. A copy of a view
// is a view of the same text; a copy of an owning string is a deep copy.
// Length is never stored. Null equals only null.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>
#include <iosfwd>

class KivCString {
public:
  KivCString() = default;
  KivCString(const char* text);  // an owning copy; null gives a null string
  KivCString(const char* text, int32_t length);
  KivCString(const KivCString& other);
  KivCString(KivCString&& other) noexcept;
  ~KivCString();
  KivCString& operator=(const KivCString& other);
  KivCString& operator=(KivCString&& other) noexcept;
  KivCString& operator=(const char* text);

  // A view: the pointer is stored, nothing is copied or freed.
  static KivCString view(const char* text);

  const char* text() const { return text_; }
  // Never null: "" for a null string.
  const char* c_str() const { return text_ ? text_ : ""; }
  int32_t capacity() const { return capacity_; }
  bool isOwned() const { return capacity_ > 0; }
  int32_t length() const;
  bool isEmpty() const { return !text_ || !*text_; }
  bool isNull() const { return !text_; }
  char at(int32_t i) const { return text_[i]; }

  friend bool operator==(const KivCString& a, const KivCString& b);
  friend bool operator!=(const KivCString& a, const KivCString& b) { return !(a == b); }
  // strcmp sense; null sorts before everything else.
  int compare(const KivCString& other) const;
  friend bool operator<(const KivCString& a, const KivCString& b) { return a.compare(b) < 0; }

  int32_t find(char c, int32_t start = 0) const;
  int32_t find(const char* text, int32_t start = 0) const;

  KivCString& append(char c);
  KivCString& append(const char* text);
  KivCString& replaceRange(int32_t start, int32_t count, const char* text);
  KivCString& replaceAll(const char* from, const char* to);
  KivCString& assign(const char* text, int32_t length);
  // Takes the low byte of each unit.
  KivCString& assign(const char16_t* wideText, int32_t length);
  KivCString& toLower();
  KivCString& makeOwned();
  // djb2 over signed characters; 0 for a null string.
  uint32_t hash() const;

  static KivCString fromInt(int value);

  // Hands the buffer over; the string becomes null. For takeUtf8 and friends.
  void adopt(char* buffer, int32_t capacity);
  char* release(int32_t* capacity);

private:
  void reset();
  // Replaces [start, start + count) by `length` bytes of `text`, making the
  // string owned; `text` may point into this string's own buffer.
  void splice(int32_t start, int32_t count, const char* text, int32_t length);
  char* text_ = nullptr;
  int32_t capacity_ = 0;
};

std::ostream& operator<<(std::ostream& os, const KivCString& s);

// djb2 over signed characters: 5381, then h * 33 + c; a null pointer gives 0.
uint32_t kivHashText(const char* text);
