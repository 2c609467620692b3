//===- hostimagecodecs.cpp - PNG and JPEG for the component's images ------===//
#include "host/hostimagecodecs.h"

#include "base/basic/kivimagebase.h"
#include "core/ikivlog3.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/kivfilepath.h"
#include "kivbasictypes/kivstring.h"

#include <png.h>
// jpeglib.h needs FILE and size_t declared before it.
#include <cstdio>
#include <jpeglib.h>

#include <algorithm>
#include <cctype>
#include <csetjmp>
#include <cstdlib>
#include <cstring>

namespace hostimage {

namespace {

// What one decoded image may occupy; a header asking for more is refused
// before anything is allocated.
constexpr uint64_t kMaxBytes = uint64_t(1) << 30;

const uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};

bool isPng(const uint8_t* data, size_t size) {
  return size >= 8 && std::memcmp(data, kPngSignature, 8) == 0;
}

bool isJpeg(const uint8_t* data, size_t size) {
  return size >= 3 && data[0] == 0xFF && data[1] == 0xD8 && data[2] == 0xFF;
}

struct PngContext {
  std::vector<uint8_t>* out = nullptr;  // writing
  const uint8_t* data = nullptr;        // reading
  size_t size = 0;
  size_t pos = 0;
  char error[200] = {};
};

void pngError(png_structp png, png_const_charp message) {
  auto* context = static_cast<PngContext*>(png_get_error_ptr(png));
  std::snprintf(context->error, sizeof(context->error), "%s", message);
  png_longjmp(png, 1);
}

void pngWarning(png_structp, png_const_charp) {}

void pngWrite(png_structp png, png_bytep data, size_t n) {
  auto* context = static_cast<PngContext*>(png_get_io_ptr(png));
  context->out->insert(context->out->end(), data, data + n);
}

void pngFlush(png_structp) {}

void pngRead(png_structp png, png_bytep out, size_t n) {
  auto* context = static_cast<PngContext*>(png_get_io_ptr(png));
  if (n > context->size - context->pos)
    png_error(png, "PNG data ends early");
  std::memcpy(out, context->data + context->pos, n);
  context->pos += n;
}

int pngColourType(int depth) {
  switch (depth) {
  case 1: return PNG_COLOR_TYPE_GRAY;
  case 2: return PNG_COLOR_TYPE_GRAY_ALPHA;
  case 3: return PNG_COLOR_TYPE_RGB;
  default: return PNG_COLOR_TYPE_RGBA;
  }
}

// No object with a destructor lives in the frames that libpng jumps over.
bool encodePngFrame(IKivImageBase* image, int level, bool flip, PngContext* context) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, context, pngError, pngWarning);
  if (!png)
    return false;
  png_infop info = png_create_info_struct(png);
  if (!info) {
    png_destroy_write_struct(&png, nullptr);
    return false;
  }
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_set_write_fn(png, context, pngWrite, pngFlush);
  const int w = image->width(), h = image->height();
  png_set_IHDR(png, info, static_cast<png_uint_32>(w), static_cast<png_uint_32>(h), 8,
               pngColourType(image->depth()), PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, std::clamp(level, 0, 9));
  // One cheap filter at the fast levels: adaptive filtering costs more time
  // than it saves bytes there.
  if (level <= 3)
    png_set_filter(png, 0, PNG_FILTER_SUB);
  png_write_info(png, info);
  for (int i = 0; i < h; ++i) {
    const uint8_t* row = image->row(flip ? h - 1 - i : i);
    if (!row)
      png_error(png, "the image has no pixels");
    png_write_row(png, const_cast<png_bytep>(row));
  }
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

bool decodePngFrame(IKivImageBase* image, PngContext* context, std::vector<png_bytep>* rows) {
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, context, pngError, pngWarning);
  if (!png)
    return false;
  png_infop info = png_create_info_struct(png);
  if (!info) {
    png_destroy_read_struct(&png, nullptr, nullptr);
    return false;
  }
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_read_struct(&png, &info, nullptr);
    return false;
  }
  png_set_read_fn(png, context, pngRead);
  png_set_user_limits(png, kMaxSide, kMaxSide);
  png_read_info(png, info);
  const png_uint_32 w = png_get_image_width(png, info);
  const png_uint_32 h = png_get_image_height(png, info);
  png_set_expand(png);
  png_set_strip_16(png);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  const int channels = png_get_channels(png, info);
  if (channels < 1 || channels > 4 || uint64_t(w) * h * channels > kMaxBytes)
    png_error(png, "unsupported PNG layout or size");
  image->resize(static_cast<int>(w), static_cast<int>(h), channels);
  for (png_uint_32 y = 0; y < h; ++y) {
    (*rows)[y] = image->row(static_cast<int>(y));
    if (!(*rows)[y])
      png_error(png, "the image could not be sized");
  }
  png_read_image(png, rows->data());
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
  return true;
}

struct JpegError {
  jpeg_error_mgr manager;
  std::jmp_buf jump;
  char message[JMSG_LENGTH_MAX];
};

void jpegErrorExit(j_common_ptr cinfo) {
  auto* error = reinterpret_cast<JpegError*>(cinfo->err);
  (*cinfo->err->format_message)(cinfo, error->message);
  std::longjmp(error->jump, 1);
}

void jpegMessage(j_common_ptr) {}

bool encodeJpegFrame(IKivImageBase* image, int quality, bool flip, JpegError* error,
                     unsigned char** buffer, unsigned long* size, std::vector<uint8_t>* line) {
  jpeg_compress_struct cinfo;
  cinfo.err = jpeg_std_error(&error->manager);
  error->manager.error_exit = jpegErrorExit;
  error->manager.output_message = jpegMessage;
  if (setjmp(error->jump)) {
    jpeg_destroy_compress(&cinfo);
    return false;
  }
  jpeg_create_compress(&cinfo);
  jpeg_mem_dest(&cinfo, buffer, size);
  const int w = image->width(), h = image->height(), d = image->depth();
  const int components = d < 3 ? 1 : 3;
  cinfo.image_width = static_cast<JDIMENSION>(w);
  cinfo.image_height = static_cast<JDIMENSION>(h);
  cinfo.input_components = components;
  cinfo.in_color_space = d < 3 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&cinfo);
  jpeg_set_quality(&cinfo, std::clamp(quality, 1, 100), TRUE);
  jpeg_start_compress(&cinfo, TRUE);
  for (int i = 0; i < h; ++i) {
    const uint8_t* row = image->row(flip ? h - 1 - i : i);
    if (!row) {
      std::snprintf(error->message, sizeof(error->message), "the image has no pixels");
      jpeg_destroy_compress(&cinfo);
      return false;
    }
    JSAMPROW sample = const_cast<JSAMPROW>(row);
    if (d == 2 || d == 4) {
      // JPEG has no alpha: it is left behind.
      for (int x = 0; x < w; ++x)
        std::memcpy(line->data() + x * components, row + x * d, components);
      sample = line->data();
    }
    jpeg_write_scanlines(&cinfo, &sample, 1);
  }
  jpeg_finish_compress(&cinfo);
  jpeg_destroy_compress(&cinfo);
  return true;
}

bool decodeJpegFrame(const uint8_t* data, size_t size, IKivImageBase* image, JpegError* error) {
  jpeg_decompress_struct cinfo;
  cinfo.err = jpeg_std_error(&error->manager);
  error->manager.error_exit = jpegErrorExit;
  error->manager.output_message = jpegMessage;
  if (setjmp(error->jump)) {
    jpeg_destroy_decompress(&cinfo);
    return false;
  }
  jpeg_create_decompress(&cinfo);
  jpeg_mem_src(&cinfo, data, static_cast<unsigned long>(size));
  jpeg_read_header(&cinfo, TRUE);
  cinfo.out_color_space = cinfo.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_start_decompress(&cinfo);
  const uint64_t bytes = uint64_t(cinfo.output_width) * cinfo.output_height *
                         static_cast<uint64_t>(cinfo.output_components);
  if (cinfo.output_width > kMaxSide || cinfo.output_height > kMaxSide || bytes > kMaxBytes ||
      (cinfo.output_components != 1 && cinfo.output_components != 3)) {
    std::snprintf(error->message, sizeof(error->message), "unsupported JPEG layout or size");
    jpeg_destroy_decompress(&cinfo);
    return false;
  }
  image->resize(static_cast<int>(cinfo.output_width), static_cast<int>(cinfo.output_height),
                cinfo.output_components);
  while (cinfo.output_scanline < cinfo.output_height) {
    JSAMPROW row = image->row(static_cast<int>(cinfo.output_scanline));
    if (!row) {
      std::snprintf(error->message, sizeof(error->message), "the image could not be sized");
      jpeg_destroy_decompress(&cinfo);
      return false;
    }
    jpeg_read_scanlines(&cinfo, &row, 1);
  }
  jpeg_finish_decompress(&cinfo);
  jpeg_destroy_decompress(&cinfo);
  return true;
}

bool hasPixels(IKivImageBase* image) {
  return image && image->width() > 0 && image->height() > 0 && image->depth() > 0 &&
         image->row(0);
}

} // namespace

bool encodePng(IKivImageBase* image, int level, bool flip, std::vector<uint8_t>& out,
               std::string& error) {
  out.clear();
  if (!hasPixels(image)) {
    error = "the image is empty";
    return false;
  }
  PngContext context;
  context.out = &out;
  out.reserve(static_cast<size_t>(image->byteCount() / 4 + 1024));
  if (!encodePngFrame(image, level, flip, &context)) {
    error = context.error[0] ? context.error : "PNG encoding failed";
    return false;
  }
  return true;
}

bool encodeJpeg(IKivImageBase* image, int quality, bool flip, std::vector<uint8_t>& out,
                std::string& error) {
  out.clear();
  if (!hasPixels(image)) {
    error = "the image is empty";
    return false;
  }
  JpegError jpegError{};
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  std::vector<uint8_t> line(static_cast<size_t>(image->width()) * 3);
  const bool ok = encodeJpegFrame(image, quality, flip, &jpegError, &buffer, &size, &line);
  if (ok)
    out.assign(buffer, buffer + size);
  else
    error = jpegError.message[0] ? jpegError.message : "JPEG encoding failed";
  std::free(buffer);
  return ok;
}

bool decodePng(const uint8_t* data, size_t size, IKivImageBase* image, std::string& error) {
  if (!data || !isPng(data, size)) {
    error = "not a PNG stream";
    return false;
  }
  PngContext context;
  context.data = data;
  context.size = size;
  std::vector<png_bytep> rows;
  // The row table is sized here, outside the frame libpng jumps out of.
  if (size >= 24) {
    const uint32_t h = (uint32_t(data[20]) << 24) | (uint32_t(data[21]) << 16) |
                       (uint32_t(data[22]) << 8) | data[23];
    rows.resize(std::min(h, kMaxSide));
  }
  if (!decodePngFrame(image, &context, &rows)) {
    image->resize(0, 0, 0);
    error = context.error[0] ? context.error : "PNG decoding failed";
    return false;
  }
  return true;
}

bool decodeJpeg(const uint8_t* data, size_t size, IKivImageBase* image, std::string& error) {
  if (!data || !isJpeg(data, size)) {
    error = "not a JPEG stream";
    return false;
  }
  JpegError jpegError{};
  if (!decodeJpegFrame(data, size, image, &jpegError)) {
    image->resize(0, 0, 0);
    error = jpegError.message[0] ? jpegError.message : "JPEG decoding failed";
    return false;
  }
  return true;
}

size_t pngStreamLength(const uint8_t* data, size_t limit) {
  if (!data || !isPng(data, limit))
    return 0;
  size_t pos = 8;
  while (limit - pos >= 12) {
    const uint8_t* chunk = data + pos;
    const size_t length = (size_t(chunk[0]) << 24) | (size_t(chunk[1]) << 16) |
                          (size_t(chunk[2]) << 8) | chunk[3];
    if (length > limit - pos - 12)
      return 0;
    pos += 12 + length;
    if (std::memcmp(chunk + 4, "IEND", 4) == 0)
      return pos;
  }
  return 0;
}

} // namespace hostimage

//===- HostCompressPNG -----------------------------------------------------===//

void HostCompressPNG::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostCompressPNG", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivCompressPNG", static_cast<IKivCompressPNG*>(this), out);
}

bool HostCompressPNG::compress(IKivImageBase* image, void** compressedData, uint32_t* size) {
  std::vector<uint8_t> bytes;
  std::string error;
  if (!compressedData || !size || !hostimage::encodePng(image, level_, false, bytes, error) ||
      bytes.size() > UINT32_MAX)
    return false;
  void* block = std::malloc(bytes.size());
  if (!block)
    return false;
  std::memcpy(block, bytes.data(), bytes.size());
  *compressedData = block;
  *size = static_cast<uint32_t>(bytes.size());
  return true;
}

bool HostCompressPNG::decompress(const void* compressedData, uint32_t size,
                                 IKivImageBase* image) {
  std::string error;
  return image &&
         hostimage::decodePng(static_cast<const uint8_t*>(compressedData), size, image, error);
}

void HostCompressPNG::release(void* compressedData) { std::free(compressedData); }

bool HostCompressPNG::copy(const void* source, void** target) {
  if (!target)
    return false;
  const size_t length = hostimage::pngStreamLength(static_cast<const uint8_t*>(source), SIZE_MAX);
  if (length == 0)
    return false;
  void* block = std::malloc(length);
  if (!block)
    return false;
  std::memcpy(block, source, length);
  *target = block;
  return true;
}

//===- HostImageWriter -----------------------------------------------------===//

namespace {

enum class Format { kPng, kJpeg, kBmp, kTiff, kPpm, kRgb, kUnknown };

Format formatOf(const char* text) {
  std::string name = text ? text : "";
  for (char& c : name)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (name == "png")
    return Format::kPng;
  if (name == "jpeg" || name == "jpg" || name == "jpe")
    return Format::kJpeg;
  if (name == "bmp")
    return Format::kBmp;
  if (name == "tif" || name == "tiff")
    return Format::kTiff;
  if (name == "ppm")
    return Format::kPpm;
  if (name == "rgb" || name == "sgi")
    return Format::kRgb;
  return Format::kUnknown;
}

// Quality 0 or below means "not given".
constexpr int kDefaultJpegQuality = 90;

} // namespace

void HostImageWriter::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostImageWriter", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivImageWriter", static_cast<IKivImageWriter*>(this), out);
}

bool HostImageWriter::refuse(const std::string& reason) {
  if (log_)
    log_->logWarning(KivString::fromUtf8(("IKivImageWriter: " + reason).c_str()));
  return false;
}

bool HostImageWriter::encode(IKivImageBase* image, const char* format, int quality, bool flip,
                             std::vector<uint8_t>& out) {
  std::string error;
  bool ok = false;
  switch (formatOf(format)) {
  case Format::kPng:
    ok = hostimage::encodePng(image, HostCompressPNG::kDefaultLevel, flip, out, error);
    break;
  case Format::kJpeg:
    ok = hostimage::encodeJpeg(image, quality > 0 ? quality : kDefaultJpegQuality, flip, out,
                               error);
    break;
  default:
    return refuse(std::string("cannot encode the format '") + (format ? format : "") +
                  "' into a stream");
  }
  return ok || refuse(error);
}

bool HostImageWriter::write(IKivImageBase* image, BinOutput* stream, const char* format,
                            int quality, int, bool flip) {
  std::vector<uint8_t> bytes;
  if (!stream || !encode(image, format, quality, flip, bytes))
    return false;
  return stream->writeRaw(bytes.data(), bytes.size());
}

bool HostImageWriter::save(IKivImageBase* image, const KivString& path, const char* format,
                           int quality, int, bool flip) {
  const Format kind = formatOf(format);
  if (kind != Format::kPng && kind != Format::kJpeg) {
    // The simple formats are the image's own writers.
    auto* own = kivQuery<KivImageBase>(image, "KivImageBase");
    bool ok = false;
    switch (kind) {
    case Format::kBmp: ok = own && own->writeBmp(path, flip); break;
    case Format::kTiff: ok = own && own->writeTiff(path); break;
    case Format::kPpm: ok = own && own->writePpm(path); break;
    case Format::kRgb: ok = own && own->writeRgb(path); break;
    default:
      return refuse(std::string("unknown image format '") + (format ? format : "") + "'");
    }
    return ok || refuse(std::string("could not write ") + path.utf8Text());
  }
  std::vector<uint8_t> bytes;
  if (!encode(image, format, quality, flip, bytes))
    return false;
  std::FILE* file = openFile(path, "wb");
  if (!file)
    return refuse(std::string("cannot create ") + path.utf8Text());
  bool ok = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  ok = std::fclose(file) == 0 && ok;
  return ok || refuse(std::string("could not write ") + path.utf8Text());
}

bool HostImageWriter::writeTo(IKivImageBase* image, BinOutput* target, const char* format, int,
                              bool, bool, bool) {
  // The flags carry no meaning for this host.
  return write(image, target, format, 0, 0, false);
}

bool HostImageWriter::read(IKivImageBase* image, BinInput* stream, int, int, bool, bool) {
  if (!image || !stream)
    return false;
  // A stream holds a PNG: it is read chunk by chunk up to IEND, each length
  // checked against what the stream has left.
  std::vector<uint8_t> bytes(8);
  if (!stream->read(bytes.data(), 1, 8) || !hostimage::isPng(bytes.data(), 8))
    return refuse("a stream must hold a PNG image");
  for (;;) {
    uint8_t head[8];
    if (!stream->read(head, 1, 8))
      return refuse("the PNG stream ends early");
    const uint64_t length = (uint64_t(head[0]) << 24) | (uint64_t(head[1]) << 16) |
                            (uint64_t(head[2]) << 8) | head[3];
    const int64_t left = static_cast<int64_t>(stream->size()) - stream->tell();
    if (left < 0 || length + 4 > static_cast<uint64_t>(left))
      return refuse("a PNG chunk runs past the stream");
    const size_t at = bytes.size();
    bytes.insert(bytes.end(), head, head + 8);
    bytes.resize(at + 8 + length + 4);
    if (!stream->read(bytes.data() + at + 8, 1, length + 4))
      return refuse("the PNG stream ends early");
    if (std::memcmp(head + 4, "IEND", 4) == 0)
      break;
  }
  return decode(image, bytes.data(), bytes.size(), "the stream");
}

bool HostImageWriter::decode(IKivImageBase* image, const uint8_t* data, size_t size,
                             const std::string& what) {
  std::string error;
  if (hostimage::isPng(data, size))
    return hostimage::decodePng(data, size, image, error) || refuse(what + ": " + error);
  if (hostimage::isJpeg(data, size))
    return hostimage::decodeJpeg(data, size, image, error) || refuse(what + ": " + error);
  return refuse(what + " is in no format this host reads (PNG, JPEG)");
}

bool HostImageWriter::load(IKivImageBase* image, const KivString& path, int, bool, bool, bool) {
  if (!image)
    return false;
  std::FILE* file = openFile(path, "rb");
  if (!file)
    return refuse(std::string("cannot open ") + path.utf8Text());
  std::vector<uint8_t> bytes;
  uint8_t chunk[65536];
  size_t n = 0;
  while ((n = std::fread(chunk, 1, sizeof(chunk), file)) > 0 &&
         bytes.size() + n <= hostimage::kMaxSide * size_t(hostimage::kMaxSide))
    bytes.insert(bytes.end(), chunk, chunk + n);
  std::fclose(file);
  return decode(image, bytes.data(), bytes.size(), path.utf8Text());
}

bool HostImageWriter::readFrom(IKivImageBase* image, const void* buffer, uint32_t size, int, int,
                               int, bool, bool, bool) {
  // An encoded buffer carries its own size; width and height are not needed.
  if (!image || !buffer)
    return false;
  return decode(image, static_cast<const uint8_t*>(buffer), size, "the buffer");
}
