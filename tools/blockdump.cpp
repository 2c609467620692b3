//===- blockdump.cpp - Print the block tree of a data-model file ---------===//
#include "tools/blockdump.h"

#include "core/classids.h"
#include "core/kivclassid.h"
#include "host/utf8.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint32_t kRootTag = 0x544F56;
constexpr uint32_t kSectionTag = 0xB0002;

enum class Shape { Container, Section, Leaf };

struct TagInfo {
  uint32_t tag;
  const char* kind;
  Shape shape;
};

// The tags a file may hold. Anything else inside a block is bare data.
constexpr TagInfo kTags[] = {
    {0x10000, "vector", Shape::Leaf},     {0x10001, "colour", Shape::Leaf},
    {0x10002, "material", Shape::Container}, {0x10003, "cstring", Shape::Leaf},
    {0x10004, "matrix", Shape::Leaf},     {0x10005, "string", Shape::Leaf},
    {0x10006, "rect", Shape::Leaf},       {0x10007, "four doubles", Shape::Leaf},
    {0x10008, "class id", Shape::Leaf},   {0x10009, "vector2d", Shape::Leaf},
    {0x10010, "vector2f", Shape::Leaf},   {kSectionTag, "section", Shape::Section},
    {0xB00BBE, "object extra", Shape::Container},
    {0xB00BBA, "unwritten objects", Shape::Container},
};

const TagInfo* findTag(uint32_t tag) {
  for (const TagInfo& info : kTags)
    if (info.tag == tag)
      return &info;
  return nullptr;
}

// Reads a file through a window, so that long runs of bare data (point
// arrays) are scanned without a system call per byte.
class Window {
public:
  explicit Window(int fd, int64_t size) : fd_(fd), size_(size) {}
  int64_t size() const { return size_; }

  // `n` bytes at `offset`, or null if they pass the end of the file or the
  // read fails.
  const uint8_t* at(int64_t offset, int64_t n) {
    if (offset < 0 || n < 0 || offset + n > size_)
      return nullptr;
    if (offset < start_ || offset + n > start_ + static_cast<int64_t>(bytes_.size())) {
      const int64_t want = std::min<int64_t>(std::max<int64_t>(n, kWindow), size_ - offset);
      bytes_.resize(static_cast<size_t>(want));
      int64_t done = 0;
      while (done < want) {
        ssize_t got = ::pread(fd_, bytes_.data() + done, static_cast<size_t>(want - done),
                              static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR)
          continue;
        if (got <= 0) {
          bytes_.clear();
          start_ = -1;
          return nullptr;
        }
        done += got;
      }
      start_ = offset;
    }
    return bytes_.data() + (offset - start_);
  }

private:
  static constexpr int64_t kWindow = 1 << 16;
  int fd_;
  int64_t size_;
  int64_t start_ = -1;
  std::vector<uint8_t> bytes_;
};

uint32_t be32(const uint8_t* p) {
  return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}

uint64_t be64(const uint8_t* p) { return (uint64_t{be32(p)} << 32) | be32(p + 4); }

double beDouble(const uint8_t* p) { return std::bit_cast<double>(be64(p)); }
float beFloat(const uint8_t* p) { return std::bit_cast<float>(be32(p)); }

KivClassId classIdAt(const uint8_t* p) {
  KivClassId id;
  id.data1 = be32(p);
  id.data2 = static_cast<uint16_t>((p[4] << 8) | p[5]);
  id.data3 = static_cast<uint16_t>((p[6] << 8) | p[7]);
  std::memcpy(id.data4, p + 8, 8);
  return id;
}

std::string classText(const KivClassId& id) {
  std::string text = id.toString();
  for (const KivClassRow& row : kClassTable)
    if (row.id == id)
      return text + " " + row.name;
  return text + " (not in the class table)";
}

// Printable text: control and non-ASCII bytes as \xNN, at most 60 shown.
std::string quoted(const std::string& utf8, bool escapeHigh) {
  std::string out = "\"";
  size_t shown = 0;
  for (unsigned char c : utf8) {
    if (++shown > 60) {
      out += "...";
      break;
    }
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20 || c == 0x7F || (escapeHigh && c >= 0x80)) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02X", c);
      out += hex;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

// 16-bit big-endian units to UTF-8.
std::string utf16ToUtf8(const uint8_t* p, int64_t units) {
  std::u16string wide(static_cast<size_t>(units), u'\0');
  for (int64_t i = 0; i < units; ++i)
    wide[static_cast<size_t>(i)] = static_cast<char16_t>((p[2 * i] << 8) | p[2 * i + 1]);
  return utf8FromUnits(wide);
}

std::string numbers(const char* open, const char* close, int count, int width,
                    const uint8_t* p) {
  std::string out = open;
  char buffer[40];
  for (int i = 0; i < count; ++i) {
    double value = width == 8 ? beDouble(p + 8 * i) : beFloat(p + 4 * i);
    std::snprintf(buffer, sizeof buffer, "%s%.9g", i ? ", " : "", value);
    out += buffer;
  }
  return out + close;
}

class Dumper {
public:
  Dumper(Window& window, std::FILE* out, const BlockDumpOptions& options, int headSize)
      : w_(window), out_(out), options_(options), headSize_(headSize) {}

  // Prints the blocks and bare runs of [begin, end) at `depth`.
  void children(int64_t begin, int64_t end, int depth) {
    int64_t p = begin;
    int64_t bareStart = -1;
    while (p < end) {
      int64_t length = 0;
      const TagInfo* info = blockAt(p, end, &length);
      if (!info) {
        if (bareStart < 0)
          bareStart = p;
        ++p;
        continue;
      }
      if (bareStart >= 0) {
        bare(bareStart, p, depth);
        bareStart = -1;
      }
      const int64_t kept = std::min(length, end - p);
      block(p, length, kept, *info, depth);
      p += kept;
    }
    if (bareStart >= 0)
      bare(bareStart, end, depth);
  }

  void root(int64_t length, int version, bool lengthWasZero) {
    line(0, 0, "root v" + std::to_string(version) + "  " + std::to_string(length) + " bytes" +
                   (lengthWasZero ? " (length 0: to the end of the file)" : ""));
    children(headSize_, length, 1);
  }

  int64_t hidden() const { return hidden_; }
  void setCutFile() { cutFile_ = true; }

private:
  // The known block that starts at p and ends inside `end`, if any.
  const TagInfo* blockAt(int64_t p, int64_t end, int64_t* length) {
    if (end - p < headSize_)
      return nullptr;
    const uint8_t* head = w_.at(p, headSize_);
    if (!head)
      return nullptr;
    const TagInfo* info = findTag(be32(head) >> 8);
    if (!info)
      return nullptr;
    const int64_t n = headSize_ == 12 ? static_cast<int64_t>(be64(head + 4)) : be32(head + 4);
    const int64_t minimum = headSize_ + (info->shape == Shape::Section ? 16 : 0);
    if (n < minimum || end - p < minimum)
      return nullptr;
    *length = n;
    // In a cut file, a block that runs past the end is shown as far as it
    // goes; elsewhere a length past the parent means these aren't block bytes.
    if (n > end - p && !(cutFile_ && end == w_.size()))
      return nullptr;
    return info;
  }

  // `kept` is less than `length` for a block that a cut file ends early.
  void block(int64_t p, int64_t length, int64_t kept, const TagInfo& info, int depth) {
    if (depth > options_.maxDepth) {
      ++hidden_;
      return;
    }
    const int version = w_.at(p, 4)[3];
    const int64_t payload = p + headSize_;
    const int64_t size = kept - headSize_;
    std::string text = std::string(info.kind) + " v" + std::to_string(version) + "  " +
                       std::to_string(length) + " bytes";
    if (kept < length)
      text += " (cut: " + std::to_string(length - kept) + " bytes missing)";
    std::string value = leafValue(info.tag, payload, size);
    if (!value.empty())
      text += "  " + value;
    if (info.shape == Shape::Section)
      text += "  " + classText(classIdAt(w_.at(payload, 16)));
    line(p, depth, text);
    if (info.shape == Shape::Section)
      children(payload + 16, p + kept, depth + 1);
    else if (info.shape == Shape::Container)
      children(payload, p + kept, depth + 1);
  }

  // The value of a typed block, or empty if the payload doesn't have the
  // type's size.
  std::string leafValue(uint32_t tag, int64_t payload, int64_t size) {
    const uint8_t* p = size > 0 && size <= (1 << 20) ? w_.at(payload, size) : nullptr;
    if (tag == 0x10005 && (size % 2 == 0) && (p || size == 0))
      return quoted(utf16ToUtf8(p, size / 2), false);
    if (tag == 0x10003 && (p || size == 0))
      return quoted(std::string(reinterpret_cast<const char*>(p), static_cast<size_t>(size)),
                    true);
    if (!p)
      return std::string();
    switch (tag) {
    case 0x10000:
      return size == 24 ? numbers("(", ")", 3, 8, p) : std::string();
    case 0x10001:
      return size == 16 ? numbers("rgba(", ")", 4, 4, p) : std::string();
    case 0x10004:
      return size == 128 ? numbers("[", "]", 16, 8, p) : std::string();
    case 0x10006:
    case 0x10007:
      return size == 32 ? numbers("(", ")", 4, 8, p) : std::string();
    case 0x10008:
      return size == 16 ? classText(classIdAt(p)) : std::string();
    case 0x10009:
      return size == 16 ? numbers("(", ")", 2, 8, p) : std::string();
    case 0x10010:
      return size == 8 ? numbers("(", ")", 2, 4, p) : std::string();
    default:
      return std::string();
    }
  }

  void bare(int64_t begin, int64_t end, int depth) {
    if (depth > options_.maxDepth)
      return;
    const int64_t n = end - begin;
    const int64_t shown = std::min<int64_t>(n, options_.bareBytesShown);
    std::string text = "bare " + std::to_string(n) + (n == 1 ? " byte:" : " bytes:");
    if (const uint8_t* p = w_.at(begin, shown)) {
      char hex[4];
      for (int64_t i = 0; i < shown; ++i) {
        std::snprintf(hex, sizeof hex, " %02X", p[i]);
        text += hex;
      }
    }
    if (shown < n)
      text += " ...";
    line(begin, depth, text);
  }

  void line(int64_t offset, int depth, const std::string& text) {
    std::fprintf(out_, "@%-10lld %*s%s\n", static_cast<long long>(offset), 2 * depth, "",
                 text.c_str());
  }

  Window& w_;
  std::FILE* out_;
  const BlockDumpOptions& options_;
  const int headSize_;
  int64_t hidden_ = 0;
  bool cutFile_ = false;
};

} // namespace

bool dumpBlocks(const char* path, std::FILE* out, const BlockDumpOptions& options,
                std::string* error) {
  int fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    *error = std::string("cannot open '") + path + "': " + std::strerror(errno);
    return false;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    *error = std::string("'") + path + "' is not a regular file";
    return false;
  }
  Window window(fd, info.st_size);
  const uint8_t* head = window.at(0, 8);
  const uint32_t word = head ? be32(head) : 0;
  const int version = static_cast<int>(word & 0xFF);
  if (!head || (word >> 8) != kRootTag || version > 1) {
    ::close(fd);
    *error = std::string("'") + path + "' is not a data-model file (no root block)";
    return false;
  }
  const int headSize = version == 1 ? 12 : 8;
  const uint8_t* lengthField = window.at(4, headSize - 4);
  if (!lengthField) {
    ::close(fd);
    *error = std::string("'") + path + "' is cut short inside its root head";
    return false;
  }
  const int64_t stated =
      headSize == 12 ? static_cast<int64_t>(be64(lengthField)) : be32(lengthField);
  int64_t length = stated == 0 ? window.size() : stated;
  std::fprintf(out, "%s: %lld bytes, %d-bit lengths\n", path,
               static_cast<long long>(window.size()), headSize == 12 ? 64 : 32);
  if (length > window.size() || length < headSize) {
    std::fprintf(out, "note: the root states %lld bytes; the file has %lld\n",
                 static_cast<long long>(stated), static_cast<long long>(window.size()));
    length = window.size();
  }
  Dumper dumper(window, out, options, headSize);
  if (stated > window.size())
    dumper.setCutFile();
  dumper.root(length, version, stated == 0);
  if (length < window.size())
    std::fprintf(out, "note: %lld bytes after the root block\n",
                 static_cast<long long>(window.size() - length));
  if (dumper.hidden() > 0)
    std::fprintf(out, "note: %lld blocks deeper than %d not shown\n",
                 static_cast<long long>(dumper.hidden()), options.maxDepth);
  ::close(fd);
  return true;
}
