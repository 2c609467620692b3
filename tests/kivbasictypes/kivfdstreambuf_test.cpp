#include "kivbasictypes/kivfdstreambuf.h"
#include "tempfile.h"

#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

std::string contents(const std::string& path) {
  std::string out;
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f)
    return "<missing>";
  int c;
  while ((c = std::fgetc(f)) != EOF)
    out += static_cast<char>(c);
  std::fclose(f);
  return out;
}

void put(const std::string& path, const std::string& text) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  std::fwrite(text.data(), 1, text.size(), f);
  std::fclose(f);
}

TEST(KivFdStreambuf, TextRoundTrip) {
  TempPath path;
  {
    KivOfstream out(path.path.c_str());
    ASSERT_TRUE(out.isOpen());
    out << "pi " << 3.25 << '\n';
    for (int i = 0; i < 500; ++i)  // several buffers' worth of small writes
      out << i << ' ';
    ASSERT_TRUE(out.good());
  }
  KivIfstream in(path.path.c_str());
  std::string word;
  double value = 0;
  in >> word >> value;
  EXPECT_EQ(word, "pi");
  EXPECT_EQ(value, 3.25);
  int sum = 0;
  int i = 0;
  while (in >> i)
    sum += i;
  EXPECT_EQ(sum, 499 * 500 / 2);
  EXPECT_TRUE(in.eof());
  EXPECT_EQ(std::filesystem::status(path.path).permissions() & std::filesystem::perms::all,
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

// Which open modes keep, truncate, append to or create the file.
TEST(KivFdStreambuf, OpenModes) {
  using std::ios_base;
  struct Case {
    const char* name;
    ios_base::openmode mode;
    const char* expected;
  };
  const Case cases[] = {
      {"out_truncates", ios_base::out, "XY"},
      {"out_trunc_truncates", ios_base::out | ios_base::trunc, "XY"},
      {"out_app_appends", ios_base::out | ios_base::app, "hello worldXY"},
      {"in_out_overwrites", ios_base::in | ios_base::out, "XYllo world"},
      {"out_ate_keeps_and_writes_at_end", ios_base::out | ios_base::ate, "hello worldXY"},
      {"in_out_trunc_truncates", ios_base::in | ios_base::out | ios_base::trunc, "XY"},
  };
  for (const Case& c : cases) {
    TempPath path;
    put(path.path, "hello world");
    KivFdStreambuf buffer;
    ASSERT_TRUE(buffer.open(path.path.c_str(), c.mode)) << c.name;
    buffer.sputn("XY", 2);
    ASSERT_TRUE(buffer.close()) << c.name;
    EXPECT_EQ(contents(path.path), c.expected) << c.name;
  }

  TempPath missing;
  KivFdStreambuf reader;
  EXPECT_EQ(reader.open(missing.path.c_str(), std::ios_base::in), nullptr);
  EXPECT_FALSE(reader.isOpen());
  EXPECT_EQ(contents(missing.path), "<missing>");  // reading creates nothing

  KivIfstream stream(missing.path.c_str());
  EXPECT_TRUE(stream.fail());
  EXPECT_TRUE(stream.bad());
  EXPECT_FALSE(stream.isOpen());
}

TEST(KivFdStreambuf, SeekingCountsUnreadInput) {
  TempPath path;
  put(path.path, "0123456789abcdef");
  KivFstream io(path.path.c_str());
  ASSERT_TRUE(io.isOpen());
  char c = 0;
  io.get(c);
  io.get(c);
  EXPECT_EQ(c, '1');
  EXPECT_EQ(io.tellg(), 2);  // the buffer read all 16 bytes ahead
  io.seekg(-1, std::ios_base::end);
  io.get(c);
  EXPECT_EQ(c, 'f');
  io.seekp(4);
  io << "XYZ";
  io.seekg(3);
  std::string rest;
  io >> rest;
  EXPECT_EQ(rest, "3XYZ789abcdef");
  io.close();
  EXPECT_EQ(contents(path.path), "0123XYZ789abcdef");

  // Closed, the buffer opens again.
  KivFdStreambuf buffer;
  ASSERT_TRUE(buffer.open(path.path.c_str(), std::ios_base::in));
  EXPECT_EQ(buffer.open(path.path.c_str(), std::ios_base::in), nullptr);  // already open
  ASSERT_TRUE(buffer.close());
  EXPECT_EQ(buffer.close(), nullptr);
  ASSERT_TRUE(buffer.open(path.path.c_str(), std::ios_base::in));
  EXPECT_EQ(buffer.sgetc(), '0');
}

TEST(KivFdStreambuf, LargeAndUnbufferedTransfers) {
  TempPath path;
  std::string big(100000, 'q');
  for (size_t i = 0; i < big.size(); i += 7)
    big[i] = static_cast<char>('a' + i % 26);
  {
    KivFdStreambuf buffer;
    ASSERT_TRUE(buffer.open(path.path.c_str(), std::ios_base::out));
    EXPECT_EQ(buffer.sputn("<", 1), 1);
    EXPECT_EQ(buffer.sputn(big.data(), static_cast<std::streamsize>(big.size())),
              static_cast<std::streamsize>(big.size()));
    EXPECT_EQ(buffer.sputn(">", 1), 1);
  }
  EXPECT_EQ(contents(path.path), "<" + big + ">");

  KivFdStreambuf unbuffered;
  unbuffered.pubsetbuf(nullptr, 0);
  ASSERT_TRUE(unbuffered.open(path.path.c_str(), std::ios_base::in));
  EXPECT_EQ(unbuffered.sbumpc(), '<');
  std::string back(big.size(), '\0');
  EXPECT_EQ(unbuffered.sgetn(back.data(), static_cast<std::streamsize>(back.size())),
            static_cast<std::streamsize>(back.size()));
  EXPECT_EQ(back, big);
  EXPECT_EQ(unbuffered.sbumpc(), '>');
  EXPECT_EQ(unbuffered.sbumpc(), std::char_traits<char>::eof());

  char small[16];
  KivFdStreambuf own;
  own.pubsetbuf(small, sizeof small);
  ASSERT_TRUE(own.open(path.path.c_str(), std::ios_base::in));
  std::string start(40, '\0');
  EXPECT_EQ(own.sgetn(start.data(), 40), 40);
  EXPECT_EQ(start, ("<" + big).substr(0, 40));
}

TEST(KivFdStreambuf, WidePathsLeaveAsUtf8) {
  TempPath path("-\xC3\xA9t\xC3\xA9");  // "-été" in UTF-8
  const char16_t wide[] = u"-\u00E9t\u00E9";
  std::u16string name(path.path.begin(), path.path.end() - 6);
  name += wide;
  {
    KivOfstream out(KivString(name.c_str()));
    ASSERT_TRUE(out.isOpen());
    out << "wide";
  }
  EXPECT_EQ(contents(path.path), "wide");
}

TEST(KivFdStreambuf, AttachedDescriptorIsClosedWithTheBuffer) {
  TempPath path;
  int fd = kivplatform::openDescriptor(path.path.c_str(), false, true, true, true, false);
  ASSERT_GE(fd, 0);
  {
    KivFdStreambuf buffer;
    ASSERT_TRUE(buffer.attach(fd, std::ios_base::out));
    std::ostream out(&buffer);
    out << "attached";
  }
  EXPECT_EQ(contents(path.path), "attached");
  char c;
  EXPECT_LT(kivplatform::readOnce(fd, &c, 1), 0);  // gone
}

} // namespace
