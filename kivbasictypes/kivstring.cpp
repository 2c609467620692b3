//===- kivstring.cpp - 16-bit strings for everything shown ---------------===//
#include "kivbasictypes/kivstring.h"

#include "kivbasictypes/ikivstrsupport.h"
#include "kivbasictypes/stringbuffer.h"
#include "kivbasictypes/strsupport.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

const KivChar kNoText[1] = {0};

KivString* gEmpty = nullptr;
KivString* gSpace = nullptr;

// Bytes from 0x80 upward become units from 0xFF80 upward: no code page.
inline KivChar widen(char c) {
  return static_cast<KivChar>(static_cast<int16_t>(static_cast<signed char>(c)));
}

int32_t unitCount(const KivChar* text) {
  if (!text)
    return 0;
  int32_t n = 0;
  while (text[n])
    ++n;
  return n;
}

// Room for `length` units and the terminator.
KivChar* allocUnits(int32_t length, int32_t* capacity) {
  return static_cast<KivChar*>(allocBuffer(2 * length + 2, capacity));
}

char* allocBytes(int32_t length, int32_t* capacity) {
  return static_cast<char*>(allocBuffer(length, capacity));
}

// Gives an owned buffer back and leaves the pointer null; a view is only forgotten.
template <class T>
void releaseBuffer(T*& buffer, int32_t& capacity) {
  if (capacity > 0)
    freeBuffer(capacity, buffer);
  buffer = nullptr;
  capacity = 0;
}

inline KivChar foldLower(KivChar c) { return (c >= u'A' && c <= u'Z') ? c - u'A' + u'a' : c; }
inline KivChar foldUpper(KivChar c) { return (c >= u'a' && c <= u'z') ? c - u'a' + u'A' : c; }
inline bool isPlainSpace(KivChar c) { return (c >= 9 && c <= 13) || c == 32; }

int sign(int value) { return value < 0 ? -1 : (value > 0 ? 1 : 0); }

// printf into a buffer of 40 bytes, doubled while the text does not fit.
template <class T>
void printInto(KivString& out, const char* format, T value) {
  char small[40];
  std::vector<char> large;
  char* buffer = small;
  size_t size = sizeof small;
  for (;;) {
    int n = std::snprintf(buffer, size, format, value);
    if (n < 0) {
      out.assign("", 0);
      return;
    }
    if (static_cast<size_t>(n) < size)
      break;
    size *= 2;
    large.resize(size);
    buffer = large.data();
  }
  out.assign(buffer, -1);
}

// "%" + spec + type, e.g. "%" "08" "ld".
std::string formatWithSpec(const char* spec, const char* type) {
  std::string format("%");
  if (spec)
    format += spec;
  format += type;
  return format;
}

template <class T>
void streamInto(KivString& out, T value) {
  std::ostringstream os;
  os << value;
  out.assign(os.str().c_str(), -1);
}

} // namespace

//===- KivNumberFormat ----------------------------------------------------===//

KivNumberFormat::KivNumberFormat(const char* spec, bool useExponent, bool upperForm)
    : useExponent(useExponent ? 1 : 0), upperForm(upperForm ? 1 : 0), spec(nullptr) {
  if (spec) {
    size_t n = std::strlen(spec);
    this->spec = new char[n + 1];
    std::memcpy(this->spec, spec, n + 1);
  }
}

KivNumberFormat::KivNumberFormat(const KivNumberFormat& other)
    : KivNumberFormat(other.spec, other.useExponent != 0, other.upperForm != 0) {}

KivNumberFormat& KivNumberFormat::operator=(const KivNumberFormat& other) {
  if (this != &other) {
    KivNumberFormat copy(other);
    std::swap(useExponent, copy.useExponent);
    std::swap(upperForm, copy.upperForm);
    std::swap(spec, copy.spec);
  }
  return *this;
}

KivNumberFormat::~KivNumberFormat() { delete[] spec; }

const KivNumberFormat& KivNumberFormat::standard() {
  static const KivNumberFormat format(".2", false, false);
  return format;
}

//===- Construction and assignment ----------------------------------------===//

KivString::KivString(const char* text, int32_t length) { assign(text, length); }

KivString::KivString(const KivChar* text, int32_t length) { assign(text, length); }

KivString::KivString(const KivString& other) {
  if (other.wideCapacity_ > 0)
    assign(other.wide_, other.length());
  else
    wide_ = other.wide_;
  if (other.narrow_ && other.narrowCapacity_ == 0)
    narrow_ = other.narrow_;
}

KivString::KivString(KivString&& other) noexcept
    : wide_(other.wide_), wideCapacity_(other.wideCapacity_), narrow_(other.narrow_),
      narrowCapacity_(other.narrowCapacity_), utf8_(other.utf8_),
      utf8Capacity_(other.utf8Capacity_) {
  other.wide_ = nullptr;
  other.wideCapacity_ = 0;
  other.narrow_ = nullptr;
  other.narrowCapacity_ = 0;
  other.utf8_ = nullptr;
  other.utf8Capacity_ = 0;
}

KivString::~KivString() { freeAll(); }

KivString::KivString(int value) { printInto(*this, "%d", value); }

KivString::KivString(int value, const char* spec) {
  printInto(*this, formatWithSpec(spec, "d").c_str(), value);
}

KivString::KivString(long value, const char* spec) {
  printInto(*this, formatWithSpec(spec, "ld").c_str(), value);
}

KivString::KivString(long long value, const char* spec) {
  printInto(*this, formatWithSpec(spec, "lld").c_str(), value);
}

KivString::KivString(double value) { printInto(*this, std::fabs(value) > 1e10 ? "%e" : "%f", value); }

KivString::KivString(double value, const KivNumberFormat& format) {
  const char* type = !format.useExponent ? "f" : (format.upperForm ? "e" : "g");
  printInto(*this, formatWithSpec(format.spec, type).c_str(), value);
}

KivString::KivString(unsigned int value) { streamInto(*this, value); }

KivString::KivString(unsigned long long value) { streamInto(*this, value); }

KivString KivString::fromLiteral(const char* literal) {
  KivString s(literal);
  s.narrow_ = const_cast<char*>(literal);
  s.narrowCapacity_ = 0;
  return s;
}

// Lead bytes 0x80 to 0xBF (a continuation out of place) and a continuation
// byte that is not of the form 10xxxxxx count as broken sequences as well.
KivString KivString::fromUtf8(const char* text) {
  if (!text)
    return KivString();
  const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
  int32_t capacity = 0;
  KivChar* buffer = allocUnits(static_cast<int32_t>(std::strlen(text)), &capacity);
  int32_t n = 0;
  bool broken = false;
  while (*p && !broken) {
    unsigned lead = *p++;
    if (lead < 0x80) {
      buffer[n++] = static_cast<KivChar>(lead);
      continue;
    }
    int follow;
    unsigned value;
    if ((lead & 0xE0) == 0xC0) {
      follow = 1;
      value = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
      follow = 2;
      value = lead & 0x0F;
    } else {
      broken = true;
      break;
    }
    for (int k = 0; k < follow; ++k) {
      unsigned c = *p;
      if (c == 0 || (c & 0xC0) != 0x80) {
        broken = true;
        break;
      }
      value = (value << 6) | (c & 0x3F);
      ++p;
    }
    if (broken || value < 0x80 || (follow == 2 && value < 0x800)) {
      broken = true;
      break;
    }
    buffer[n++] = static_cast<KivChar>(value);
  }
  if (broken) {
    freeBuffer(capacity, buffer);
    return KivString();
  }
  buffer[n] = 0;
  KivString s;
  s.adoptWide(buffer, capacity);
  return s;
}

KivString& KivString::operator=(const KivString& other) {
  if (this == &other)
    return *this;
  if (other.wideCapacity_ > 0) {
    assign(other.wide_, other.length());
  } else {
    releaseBuffer(wide_, wideCapacity_);
    wide_ = other.wide_;
    dropCaches();
  }
  if (other.narrow_ && other.narrowCapacity_ == 0)
    narrow_ = other.narrow_;
  return *this;
}

KivString& KivString::operator=(KivString&& other) noexcept {
  if (this == &other)
    return *this;
  freeAll();
  std::swap(wide_, other.wide_);
  std::swap(wideCapacity_, other.wideCapacity_);
  std::swap(narrow_, other.narrow_);
  std::swap(narrowCapacity_, other.narrowCapacity_);
  std::swap(utf8_, other.utf8_);
  std::swap(utf8Capacity_, other.utf8Capacity_);
  return *this;
}

KivString& KivString::operator=(const char* text) { return assign(text, -1); }

KivString& KivString::operator=(const KivChar* text) { return assign(text, -1); }

KivString& KivString::assign(const char* text, int32_t length) {
  if (!text) {
    releaseBuffer(wide_, wideCapacity_);
    dropCaches();
    return *this;
  }
  if (length < 0)
    length = static_cast<int32_t>(std::strlen(text));
  // The text may be this string's own cached 8-bit form: fill first, drop after.
  if (wideCapacity_ >= 2 * length + 2) {
    for (int32_t i = 0; i < length; ++i)
      wide_[i] = widen(text[i]);
    wide_[length] = 0;
  } else {
    int32_t capacity = 0;
    KivChar* buffer = allocUnits(length, &capacity);
    for (int32_t i = 0; i < length; ++i)
      buffer[i] = widen(text[i]);
    buffer[length] = 0;
    releaseBuffer(wide_, wideCapacity_);
    wide_ = buffer;
    wideCapacity_ = capacity;
  }
  dropCaches();
  return *this;
}

KivString& KivString::assign(const KivChar* text, int32_t length) {
  if (!text) {
    releaseBuffer(wide_, wideCapacity_);
    dropCaches();
    return *this;
  }
  if (length < 0)
    length = unitCount(text);
  if (wideCapacity_ >= 2 * length + 2) {
    std::memmove(wide_, text, 2 * static_cast<size_t>(length));
    wide_[length] = 0;
  } else {
    int32_t capacity = 0;
    KivChar* buffer = allocUnits(length, &capacity);
    if (length > 0)
      std::memcpy(buffer, text, 2 * static_cast<size_t>(length));
    buffer[length] = 0;
    releaseBuffer(wide_, wideCapacity_);
    wide_ = buffer;
    wideCapacity_ = capacity;
  }
  dropCaches();
  return *this;
}

void KivString::freeAll() {
  releaseBuffer(wide_, wideCapacity_);
  dropCaches();
}

void KivString::dropCaches() const {
  releaseBuffer(narrow_, narrowCapacity_);
  releaseBuffer(utf8_, utf8Capacity_);
}

void KivString::adoptWide(KivChar* buffer, int32_t capacity) {
  if (buffer != wide_)
    releaseBuffer(wide_, wideCapacity_);
  wide_ = buffer;
  wideCapacity_ = capacity;
  dropCaches();
}

KivString& KivString::makeOwned() {
  if (wide_ && wideCapacity_ == 0) {
    int32_t length = this->length();
    int32_t capacity = 0;
    KivChar* buffer = allocUnits(length, &capacity);
    std::memcpy(buffer, wide_, 2 * static_cast<size_t>(length) + 2);
    wide_ = buffer;
    wideCapacity_ = capacity;
  }
  return *this;
}

//===- Access and conversion ----------------------------------------------===//

int32_t KivString::length() const { return unitCount(wide_); }

const KivChar* KivString::wideText() const { return wide_ ? wide_ : kNoText; }

const char* KivString::c_str() const {
  if (narrow_ && narrowCapacity_ == 0)
    return narrow_;
  int32_t capacity = 0;
  char* buffer;
  if (IKivStrSupport* support = strSupport()) {
    KivCString converted;
    support->toNarrow(converted, wideText());
    int32_t n = converted.length();
    buffer = allocBytes(n + 1, &capacity);
    std::memcpy(buffer, converted.c_str(), static_cast<size_t>(n) + 1);
  } else {
    int32_t length = this->length();
    buffer = allocBytes(length + 1, &capacity);
    int32_t n = 0;
    for (int32_t i = 0; i < length; ++i)
      if (wide_[i] < 128)
        buffer[n++] = static_cast<char>(wide_[i]);
    buffer[n] = '\0';
  }
  releaseBuffer(narrow_, narrowCapacity_);
  narrow_ = buffer;
  narrowCapacity_ = capacity;
  return narrow_;
}

// Surrogate pairs are encoded unit by unit, three bytes each.
const char* KivString::utf8Text() const {
  int32_t length = this->length();
  int32_t capacity = 0;
  char* buffer = allocBytes(4 * length + 1, &capacity);
  unsigned char* out = reinterpret_cast<unsigned char*>(buffer);
  for (int32_t i = 0; i < length; ++i) {
    unsigned c = wide_[i];
    if (c < 0x80) {
      *out++ = static_cast<unsigned char>(c);
    } else if (c < 0x800) {
      *out++ = static_cast<unsigned char>(0xC0 | (c >> 6));
      *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
    } else {
      *out++ = static_cast<unsigned char>(0xE0 | (c >> 12));
      *out++ = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
      *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
    }
  }
  *out = 0;
  releaseBuffer(utf8_, utf8Capacity_);
  utf8_ = buffer;
  utf8Capacity_ = capacity;
  return utf8_;
}

void takeUtf8(KivCString& out, KivString& s) {
  s.utf8Text();
  out.adopt(s.utf8_, s.utf8Capacity_);
  s.utf8_ = nullptr;
  s.utf8Capacity_ = 0;
}

//===- Comparison ---------------------------------------------------------===//

bool operator==(const KivString& a, const KivString& b) {
  const KivChar* p = a.wideText();
  const KivChar* q = b.wideText();
  while (*p && *p == *q) {
    ++p;
    ++q;
  }
  return *p == *q;
}

bool operator==(const KivString& a, const char* b) {
  const KivChar* p = a.wideText();
  const char* q = b ? b : "";
  while (*p && *p == widen(*q)) {
    ++p;
    ++q;
  }
  return *p == widen(*q);
}

int KivString::compare(const KivString& other) const {
  const KivChar* p = wideText();
  const KivChar* q = other.wideText();
  while (*p && *p == *q) {
    ++p;
    ++q;
  }
  return sign(static_cast<int>(*p) - static_cast<int>(*q));
}

int KivString::compare(const char* other) const {
  const KivChar* p = wideText();
  const char* q = other ? other : "";
  while (*p && *p == widen(*q)) {
    ++p;
    ++q;
  }
  return sign(static_cast<int>(*p) - static_cast<int>(widen(*q)));
}

int KivString::compareLocale(const KivString& other) const {
  if (IKivStrSupport* support = strSupport())
    return support->compare(*this, other);
  if (*this == other)
    return 0;
  return compare(other) == 1 ? 1 : -1;
}

//===- Search -------------------------------------------------------------===//

int32_t KivString::find(const KivString& text, int32_t start) const {
  int32_t wanted = text.length();
  if (wanted == 0)
    return 0;
  int32_t length = this->length();
  if (start < 0 || start > length - wanted)
    return -1;
  const KivChar* what = text.wide_;
  for (int32_t i = start; i <= length - wanted; ++i)
    if (std::memcmp(wide_ + i, what, 2 * static_cast<size_t>(wanted)) == 0)
      return i;
  return -1;
}

int32_t KivString::find(KivChar c, int32_t start) const {
  int32_t length = this->length();
  if (start < 0 || start >= length)
    return -1;
  for (int32_t i = start; i < length; ++i)
    if (wide_[i] == c)
      return i;
  return -1;
}

// `n` counts from 1; each search starts behind the previous match, so matches
// do not overlap. An `n` below 1 finds nothing.
int32_t KivString::findNth(const KivString& text, int32_t n) const {
  if (n < 1)
    return -1;
  int32_t step = text.length();
  if (step == 0)
    return 0;
  int32_t position = -step;
  for (int32_t k = 0; k < n; ++k) {
    position = find(text, position + step);
    if (position < 0)
      return -1;
  }
  return position;
}

bool KivString::contains(const KivString& what, bool matchCase) const {
  if (IKivStrSupport* support = strSupport())
    return support->contains(*this, what, matchCase);
  if (matchCase)
    return find(what, 0) >= 0;
  int32_t wanted = what.length();
  if (wanted == 0)
    return true;
  int32_t length = this->length();
  for (int32_t i = 0; i <= length - wanted; ++i) {
    int32_t k = 0;
    while (k < wanted && foldLower(wide_[i + k]) == foldLower(what.wide_[k]))
      ++k;
    if (k == wanted)
      return true;
  }
  return false;
}

//===- Pieces and edits ---------------------------------------------------===//

// A start outside the string gives a null string, as a count below 1 does.
KivString KivString::substr(int32_t start, int32_t count) const {
  int32_t length = this->length();
  if (count < 1 || start < 0 || start >= length)
    return KivString();
  if (count > length - start)
    count = length - start;
  return KivString(wide_ + start, count);
}

KivString KivString::from(int32_t start) const { return substr(start, length() - start); }

KivString KivString::left(int32_t count) const {
  KivString copy(*this);
  if (!copy.wide_)
    return copy;
  copy.makeOwned();
  if (count < 0)
    count = 0;
  if (count < copy.length()) {
    copy.wide_[count] = 0;
    copy.dropCaches();
  }
  return copy;
}

// Out-of-range bounds are clamped to the string.
KivString KivString::replace(int32_t start, int32_t end, const KivString& text) const {
  int32_t length = this->length();
  if (start < 0)
    start = 0;
  if (start > length)
    start = length;
  if (end < start)
    end = start;
  if (end > length)
    end = length;
  int32_t inserted = text.length();
  int32_t newLength = length - (end - start) + inserted;
  int32_t capacity = 0;
  KivChar* buffer = allocUnits(newLength, &capacity);
  if (start > 0)
    std::memcpy(buffer, wide_, 2 * static_cast<size_t>(start));
  if (inserted > 0)
    std::memcpy(buffer + start, text.wide_, 2 * static_cast<size_t>(inserted));
  if (length > end)
    std::memcpy(buffer + start + inserted, wide_ + end, 2 * static_cast<size_t>(length - end));
  buffer[newLength] = 0;
  KivString result;
  result.adoptWide(buffer, capacity);
  return result;
}

KivString& KivString::removeAt(int32_t start, int32_t count) {
  int32_t length = this->length();
  if (start < 0 || start >= length || count < 1)
    return *this;
  if (count > length - start)
    count = length - start;
  makeOwned();
  std::memmove(wide_ + start, wide_ + start + count,
               2 * static_cast<size_t>(length - start - count + 1));
  dropCaches();
  return *this;
}

KivString& KivString::truncate(int32_t position) {
  if (!wide_ || position < 0)
    return *this;
  makeOwned();
  if (position < wideCapacity_ / 2) {
    wide_[position] = 0;
    dropCaches();
  }
  return *this;
}

void KivString::appendUnits(const KivChar* units, int32_t count) {
  if (count <= 0)
    return;
  int32_t length = this->length();
  int32_t newLength = length + count;
  if (wideCapacity_ >= 2 * newLength + 2) {
    std::memmove(wide_ + length, units, 2 * static_cast<size_t>(count));
    wide_[newLength] = 0;
  } else {
    int32_t capacity = 0;
    KivChar* buffer = allocUnits(newLength, &capacity);
    if (length > 0)
      std::memcpy(buffer, wide_, 2 * static_cast<size_t>(length));
    std::memcpy(buffer + length, units, 2 * static_cast<size_t>(count));
    buffer[newLength] = 0;
    releaseBuffer(wide_, wideCapacity_);
    wide_ = buffer;
    wideCapacity_ = capacity;
  }
  dropCaches();
}

KivString& KivString::append(const KivString& text) {
  appendUnits(text.wide_, text.length());
  return *this;
}

KivString& KivString::append(const char* text) {
  if (!text)
    return *this;
  std::u16string units;
  for (const char* p = text; *p; ++p)
    units.push_back(widen(*p));
  appendUnits(units.data(), static_cast<int32_t>(units.size()));
  return *this;
}

KivString& KivString::append(KivChar c) {
  if (c != 0)
    appendUnits(&c, 1);
  return *this;
}

KivString operator+(const KivString& a, const KivString& b) {
  KivString result(a);
  result.append(b);
  return result;
}

//===- Case and space -----------------------------------------------------===//

KivString KivString::toLower() const {
  if (!wide_)
    return KivString(empty());
  KivString copy(wide_, length());
  if (IKivStrSupport* support = strSupport()) {
    support->toLower(copy);
  } else {
    for (KivChar* p = copy.wide_; *p; ++p)
      *p = foldLower(*p);
  }
  return copy;
}

KivString KivString::toUpper() const {
  if (!wide_)
    return KivString(empty());
  KivString copy(wide_, length());
  if (IKivStrSupport* support = strSupport()) {
    support->toUpper(copy);
  } else {
    for (KivChar* p = copy.wide_; *p; ++p)
      *p = foldUpper(*p);
  }
  return copy;
}

KivString KivString::withoutSpace() const {
  if (!wide_)
    return KivString();
  KivString copy(wide_, length());
  if (IKivStrSupport* support = strSupport()) {
    support->removeSpace(copy);
    return copy;
  }
  KivChar* out = copy.wide_;
  for (const KivChar* p = copy.wide_; *p; ++p)
    if (!isPlainSpace(*p))
      *out++ = *p;
  *out = 0;
  return copy;
}

bool KivString::isSpace(int c) {
  if (IKivStrSupport* support = strSupport())
    return support->isSpace(c);
  return c >= 0 && c <= 255 && std::isspace(c) != 0;
}

bool KivString::isDigit(int c) {
  if (IKivStrSupport* support = strSupport())
    return support->isDigit(c);
  return c >= 0 && c <= 255 && std::isdigit(c) != 0;
}

//===- Numbers and hashing ------------------------------------------------===//

double KivString::toDouble(bool* ok) const {
  double value = 0;
  int read = 0;
  if (wide_) {
    // sscanf gets a copy of its own: c_str's buffer belongs to this object.
    std::string copy(c_str());
    read = std::sscanf(copy.c_str(), "%lf", &value);
  }
  if (ok)
    *ok = read == 1;
  return read == 1 ? value : 0.0;
}

int KivString::toInt(bool* ok) const {
  int value = 0;
  int read = 0;
  if (wide_) {
    std::string copy(c_str());
    read = std::sscanf(copy.c_str(), "%i", &value);
  }
  if (ok)
    *ok = read == 1;
  return read == 1 ? value : 0;
}

uint32_t KivString::hash() const {
  uint32_t sum = 0;
  for (const KivChar* p = wideText(); *p; ++p)
    sum += *p;
  return sum;
}

//===- Constants and streams ----------------------------------------------===//

const KivString& KivString::empty() {
  if (!gEmpty)
    gEmpty = new KivString();
  return *gEmpty;
}

const KivString& KivString::space() {
  if (!gSpace)
    gSpace = new KivString(" ");
  return *gSpace;
}

void releaseStringConstants() {
  delete gEmpty;
  gEmpty = nullptr;
  delete gSpace;
  gSpace = nullptr;
}

std::ostream& operator<<(std::ostream& os, const KivString& s) { return os << s.c_str(); }
