//===- kivcstring.cpp - 8-bit strings for identifiers --------------------===//
#include "kivbasictypes/kivcstring.h"

#include "core/kivassert.h"
#include "kivbasictypes/stringbuffer.h"

#include <cstdio>
#include <cstring>
#include <ostream>

namespace {

const char* const kAssertFile = "kivbasictypes/tovcstring";

// An owned buffer holding `length` bytes of `text` and a terminator.
char* ownedCopy(const char* text, int32_t length, int32_t* capacity) {
  char* buffer = static_cast<char*>(allocBuffer(length + 1, capacity));
  if (length > 0)
    std::memcpy(buffer, text, static_cast<size_t>(length));
  buffer[length] = '\0';
  return buffer;
}

int32_t textLength(const char* text) {
  return text ? static_cast<int32_t>(std::strlen(text)) : 0;
}

} // namespace

uint32_t kivHashText(const char* text) {
  if (!text)
    return 0;
  uint32_t h = 5381;
  for (const char* p = text; *p; ++p)
    h = h * 33 + static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*p)));
  return h;
}

KivCString::KivCString(const char* text) {
  if (text)
    text_ = ownedCopy(text, textLength(text), &capacity_);
}

KivCString::KivCString(const char* text, int32_t length) {
  if (!text)
    return;
  if (length < 0)
    length = textLength(text);
  text_ = ownedCopy(text, length, &capacity_);
}

KivCString::KivCString(const KivCString& other) {
  if (other.capacity_ > 0)
    text_ = ownedCopy(other.text_, other.length(), &capacity_);
  else
    text_ = other.text_;
}

KivCString::KivCString(KivCString&& other) noexcept
    : text_(other.text_), capacity_(other.capacity_) {
  other.text_ = nullptr;
  other.capacity_ = 0;
}

KivCString::~KivCString() { reset(); }

void KivCString::reset() {
  if (capacity_ > 0)
    freeBuffer(capacity_, text_);
  text_ = nullptr;
  capacity_ = 0;
}

KivCString& KivCString::operator=(const KivCString& other) {
  if (this == &other)
    return *this;
  if (other.capacity_ > 0)
    return assign(other.text_, other.length());
  reset();
  text_ = other.text_;
  return *this;
}

KivCString& KivCString::operator=(KivCString&& other) noexcept {
  if (this != &other) {
    reset();
    text_ = other.text_;
    capacity_ = other.capacity_;
    other.text_ = nullptr;
    other.capacity_ = 0;
  }
  return *this;
}

KivCString& KivCString::operator=(const char* text) { return assign(text, -1); }

KivCString KivCString::view(const char* text) {
  KivCString s;
  s.text_ = const_cast<char*>(text);
  return s;
}

int32_t KivCString::length() const { return textLength(text_); }

bool operator==(const KivCString& a, const KivCString& b) {
  if (!a.text_ || !b.text_)
    return !a.text_ && !b.text_;
  return std::strcmp(a.text_, b.text_) == 0;
}

int KivCString::compare(const KivCString& other) const {
  if (!text_ || !other.text_) {
    if (text_ == other.text_)
      return 0;
    return text_ ? 1 : -1;
  }
  int r = std::strcmp(text_, other.text_);
  return r < 0 ? -1 : (r > 0 ? 1 : 0);
}

int32_t KivCString::find(char c, int32_t start) const {
  int32_t len = length();
  if (len == 0 || start < 0 || start >= len)
    return -1;
  for (int32_t i = start; i < len; ++i)
    if (text_[i] == c)
      return i;
  return -1;
}

int32_t KivCString::find(const char* text, int32_t start) const {
  if (start < 0) {
    kivAssert("start >= 0", kAssertFile, __LINE__);
    return -1;
  }
  int32_t wanted = textLength(text);
  if (wanted == 0)
    return 0;
  int32_t len = length();
  if (wanted > len)
    return -1;
  for (int32_t i = start; i <= len - wanted; ++i)
    if (std::memcmp(text_ + i, text, static_cast<size_t>(wanted)) == 0)
      return i;
  return -1;
}

void KivCString::splice(int32_t start, int32_t count, const char* text, int32_t length) {
  int32_t len = this->length();
  int32_t newLength = len - count + length;
  bool aliases = text && text_ && text >= text_ && text < text_ + capacity_;
  if (capacity_ >= newLength + 1 && !aliases) {
    char* tail = text_ + start + count;
    std::memmove(text_ + start + length, tail, static_cast<size_t>(len - start - count + 1));
    if (length > 0)
      std::memcpy(text_ + start, text, static_cast<size_t>(length));
    return;
  }
  int32_t capacity = 0;
  char* buffer = static_cast<char*>(allocBuffer(newLength + 1, &capacity));
  if (start > 0)
    std::memcpy(buffer, text_, static_cast<size_t>(start));
  if (length > 0)
    std::memcpy(buffer + start, text, static_cast<size_t>(length));
  int32_t tail = len - start - count;
  if (tail > 0)
    std::memcpy(buffer + start + length, text_ + start + count, static_cast<size_t>(tail));
  buffer[newLength] = '\0';
  reset();
  text_ = buffer;
  capacity_ = capacity;
}

KivCString& KivCString::append(char c) {
  if (c == '\0')
    return *this;
  splice(length(), 0, &c, 1);
  return *this;
}

KivCString& KivCString::append(const char* text) {
  int32_t n = textLength(text);
  if (n > 0)
    splice(length(), 0, text, n);
  return *this;
}

KivCString& KivCString::replaceRange(int32_t start, int32_t count, const char* text) {
  // Out-of-range arguments are clamped to the string rather than rejected.
  int32_t len = length();
  if (start < 0)
    start = 0;
  if (start > len)
    start = len;
  if (count < 0)
    count = 0;
  if (count > len - start)
    count = len - start;
  splice(start, count, text, textLength(text));
  return *this;
}

KivCString& KivCString::replaceAll(const char* from, const char* to) {
  int32_t fromLength = textLength(from);
  if (fromLength == 0 || !text_)
    return *this;
  int32_t toLength = textLength(to);
  int32_t len = length();
  int32_t hits = 0;
  for (int32_t i = find(from, 0); i >= 0; i = find(from, i + fromLength))
    ++hits;
  if (hits == 0)
    return *this;
  int32_t newLength = len + hits * (toLength - fromLength);
  int32_t capacity = 0;
  char* buffer = static_cast<char*>(allocBuffer(newLength + 1, &capacity));
  char* out = buffer;
  int32_t i = 0;
  while (i < len) {
    if (i <= len - fromLength && std::memcmp(text_ + i, from, static_cast<size_t>(fromLength)) == 0) {
      if (toLength > 0)
        std::memcpy(out, to, static_cast<size_t>(toLength));
      out += toLength;
      i += fromLength;
    } else {
      *out++ = text_[i++];
    }
  }
  *out = '\0';
  reset();
  text_ = buffer;
  capacity_ = capacity;
  return *this;
}

KivCString& KivCString::assign(const char* text, int32_t length) {
  if (!text) {
    reset();
    return *this;
  }
  if (length < 0)
    length = textLength(text);
  if (capacity_ >= length + 1) {
    // memmove: the text may lie inside this very buffer.
    std::memmove(text_, text, static_cast<size_t>(length));
    text_[length] = '\0';
    return *this;
  }
  int32_t capacity = 0;
  char* buffer = ownedCopy(text, length, &capacity);
  reset();
  text_ = buffer;
  capacity_ = capacity;
  return *this;
}

KivCString& KivCString::assign(const char16_t* wideText, int32_t length) {
  if (!wideText) {
    reset();
    return *this;
  }
  if (length < 0) {
    length = 0;
    while (wideText[length])
      ++length;
  }
  int32_t capacity = 0;
  char* buffer = static_cast<char*>(allocBuffer(length + 1, &capacity));
  for (int32_t i = 0; i < length; ++i)
    buffer[i] = static_cast<char>(wideText[i] & 0xFF);
  buffer[length] = '\0';
  reset();
  text_ = buffer;
  capacity_ = capacity;
  return *this;
}

// Folds A to Z only: names and keys are ASCII, and no locale is consulted.
KivCString& KivCString::toLower() {
  if (!text_)
    return *this;
  makeOwned();
  for (char* p = text_; *p; ++p)
    if (*p >= 'A' && *p <= 'Z')
      *p = static_cast<char>(*p - 'A' + 'a');
  return *this;
}

KivCString& KivCString::makeOwned() {
  if (text_ && capacity_ == 0) {
    int32_t capacity = 0;
    text_ = ownedCopy(text_, length(), &capacity);
    capacity_ = capacity;
  }
  return *this;
}

uint32_t KivCString::hash() const { return kivHashText(text_); }

KivCString KivCString::fromInt(int value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%d", value);
  return KivCString(buffer);
}

void KivCString::adopt(char* buffer, int32_t capacity) {
  if (buffer == text_) {
    capacity_ = capacity;
    return;
  }
  reset();
  text_ = buffer;
  capacity_ = capacity;
}

char* KivCString::release(int32_t* capacity) {
  char* text = text_;
  if (capacity)
    *capacity = capacity_;
  text_ = nullptr;
  capacity_ = 0;
  return text;
}

std::ostream& operator<<(std::ostream& os, const KivCString& s) { return os << s.c_str(); }
