//===- kivfile.cpp - The data-model file: nested length-prefixed blocks ---===//
#include "kivbasictypes/kivfile.h"

#include "core/classwalk.h"
#include "core/kivassert.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/ikivbinaryio.h"
#include "kivbasictypes/ikivserial.h"
#include "kivbasictypes/ikivwriteable.h"
#include "kivbasictypes/kivmatrix.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivquaternion.h"
#include "kivbasictypes/kivvector.h"
#include "kivbasictypes/stringbuffer.h"

#include <algorithm>

namespace {

constexpr const char* kFile = "kivbasictypes/kivfile";
// Text blocks become KivString / KivCString buffers, whose sizes are 32-bit.
constexpr int64_t kMaxTextBytes = 0x7FFF0000;

bool writeClassIdBody(BinOutput& out, const KivClassId& id) {
  bool ok = out.write(&id.data1);
  ok = out.write(&id.data2) && ok;
  ok = out.write(&id.data3) && ok;
  return out.write(id.data4, 8) && ok;
}

// *id changes only if all 16 bytes arrived.
bool readClassIdBody(BinInput& in, KivClassId* id) {
  KivClassId v;
  if (!in.read(&v.data1) || !in.read(&v.data2) || !in.read(&v.data3) || !in.read(v.data4, 8))
    return false;
  *id = v;
  return true;
}

} // namespace

//===----------------------------------------------------------------------===//
// KivFileWrite
//===----------------------------------------------------------------------===//

KivFileWrite::KivFileWrite() = default;

KivFileWrite::KivFileWrite(BinOutput* stream, bool owned) { attach(stream, owned); }

// close() ends every block still open, innermost first, so an abandoned write
// leaves a file whose lengths all hold.
KivFileWrite::~KivFileWrite() { close(); }

void KivFileWrite::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "KivFileWrite");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDataModelWriter");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "KivFileWrite", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivDataModelWriter", static_cast<IKivDataModelWriter*>(this), out);
}

bool KivFileWrite::streamReady(int line) {
  if (stream_)
    return true;
  kivAssert("bo_", kFile, line);
  return false;
}

bool KivFileWrite::writeBinary(IKivBinaryIO* object) {
  if (streamReady(__LINE__) && object)
    object->write(*stream_);
  return true;
}

bool KivFileWrite::writeSerial(IKivSerial* object) {
  if (object)
    object->write(this);
  return true;
}

bool KivFileWrite::typedBlock(uint32_t tag, const double* values, size_t count) {
  beginBlock(tag, 0);
  stream_->write(values, count);
  return endBlock();
}

bool KivFileWrite::writeClassId(const KivClassId& id) {
  if (!streamReady(__LINE__))
    return true;
  beginBlock(kivtag::kClassId, 0);
  writeClassIdBody(*stream_, id);
  return endBlock();
}

bool KivFileWrite::writeVector2F(const Vector2F& v) {
  if (!streamReady(__LINE__))
    return true;
  const float values[2] = {v.x, v.y};
  beginBlock(kivtag::kVector2F, 0);
  stream_->write(values, 2);
  return endBlock();
}

bool KivFileWrite::writeVector2D(const Vector2D& v) {
  const double values[2] = {v.x, v.y};
  return !streamReady(__LINE__) || typedBlock(kivtag::kVector2D, values, 2);
}

bool KivFileWrite::writeMatrix(const KivMatrix& m) {
  return !streamReady(__LINE__) || typedBlock(kivtag::kMatrix, m.m, 16);
}

bool KivFileWrite::writeVector(const KivVector& v) {
  const double values[3] = {v.x, v.y, v.z};
  return !streamReady(__LINE__) || typedBlock(kivtag::kVector, values, 3);
}

bool KivFileWrite::writeString(const KivString& s) {
  if (!streamReady(__LINE__))
    return true;
  beginBlock(kivtag::kString, 0);
  int32_t units = s.length();
  if (units > 0)
    stream_->write(s.wide(), static_cast<size_t>(units));
  return endBlock();
}

bool KivFileWrite::writeCString(const KivCString& s) {
  if (!streamReady(__LINE__))
    return true;
  beginBlock(kivtag::kCString, 0);
  int32_t bytes = s.length();
  if (bytes > 0)
    stream_->writeRaw(s.text(), static_cast<size_t>(bytes));
  return endBlock();
}

bool KivFileWrite::writeDouble(double v) {
  if (streamReady(__LINE__))
    stream_->write(&v);
  return true;
}

bool KivFileWrite::writeFloat(float v) {
  if (streamReady(__LINE__))
    stream_->write(&v);
  return true;
}

bool KivFileWrite::writeUInt32(uint32_t v) {
  if (streamReady(__LINE__))
    stream_->write(&v);
  return true;
}

bool KivFileWrite::writeInt32(int32_t v) {
  if (streamReady(__LINE__))
    stream_->write(&v);
  return true;
}

bool KivFileWrite::writeBool(bool v) { return writeUInt8(v ? 1 : 0); }

bool KivFileWrite::writeUInt8(uint8_t v) {
  if (streamReady(__LINE__))
    stream_->write(&v);
  return true;
}

bool KivFileWrite::beginSection(IKivWriteable* object, int version) {
  const KivClassId* id = object ? object->classId() : nullptr;
  return beginClassBlock(id ? *id : KivClassId{}, version);
}

bool KivFileWrite::endSection(IKivWriteable*) { return endBlock(); }

bool KivFileWrite::beginProperty(const KivString& name) { return writeString(name); }

bool KivFileWrite::endProperty(const KivString&) { return true; }

bool KivFileWrite::beginClassBlock(const KivClassId& id, int version) {
  if (!streamReady(__LINE__))
    return true;
  beginBlock(kivtag::kSection, version);
  writeClassIdBody(*stream_, id);
  return true;
}

bool KivFileWrite::beginBlock(uint32_t tag, int version) {
  if (!streamReady(__LINE__))
    return true;
  const int64_t start = stream_->position();
  const uint32_t word = (tag << 8) | (static_cast<uint32_t>(version) & 0xFF);
  stream_->write(&word);
  starts_.push(start);
  ++depth_;
  if (wideLengths()) {
    const uint64_t zero = 0;
    stream_->write(&zero);
  } else {
    const uint32_t zero = 0;
    stream_->write(&zero);
  }
  return true;
}

bool KivFileWrite::endBlock() {
  if (!stream_ || depth_ < 1)
    return true;
  const int64_t start = starts_.at(depth_);
  const int64_t end = stream_->position();
  const uint64_t length = static_cast<uint64_t>(end - start);
  bool placed = stream_->seekTo(start + 4, true);
  if (wideLengths()) {
    stream_->write(&length);
  } else {
    uint32_t narrow = static_cast<uint32_t>(length);
    if (length > 0xFFFFFFFFu) {
      narrow = 0xFFFFFFFFu;
      good_ = 0;
    }
    stream_->write(&narrow);
  }
  placed = stream_->seekTo(end, true) && placed;
  if (!placed)
    good_ = 0;
  starts_.pop();
  --depth_;
  return true;
}

bool KivFileWrite::good() { return good_ && stream_ && stream_->good(); }

BinOutput* KivFileWrite::createStream(const KivString& path) { return new BinOutputFile(path); }

bool KivFileWrite::open(const KivString& path) {
  if (stream_) {
    kivAssert("!bo_", kFile, __LINE__);
    return false;
  }
  BinOutput* stream = createStream(path);
  stream->setFileVersion(fileVersion_);
  if (!stream->good()) {
    delete stream;
    return false;
  }
  stream_ = stream;
  ownsStream_ = 1;
  closesRoot_ = 1;
  good_ = 1;
  beginBlock(kivtag::kRoot, wideLengths() ? 1 : 0);
  return true;
}

bool KivFileWrite::close() {
  if (!stream_)
    return false;
  while (depth_ > 0)
    endBlock();
  bool ok = good();
  if (closesRoot_)
    ok = stream_->flush() && ok;
  if (ownsStream_)
    delete stream_;
  stream_ = nullptr;
  ownsStream_ = 0;
  closesRoot_ = 0;
  return ok;
}

void KivFileWrite::attach(BinOutput* stream, bool owned) {
  if (stream_) {
    while (depth_ > 1)
      endBlock();
    if (closesRoot_)
      close();
  }
  starts_.clear();
  depth_ = 0;
  stream_ = stream;
  good_ = 1;
  ownsStream_ = 0;
  closesRoot_ = owned ? 1 : 0;
  fileVersion_ = stream ? stream->fileVersion() : 0;
}

void KivFileWrite::setFileVersion(int version) {
  fileVersion_ = version;
  if (stream_)
    stream_->setFileVersion(version);
}

bool KivFileWrite::writeRootHead() {
  if (!streamReady(__LINE__))
    return false;
  return beginBlock(kivtag::kRoot, wideLengths() ? 1 : 0);
}

//===----------------------------------------------------------------------===//
// KivFileRead
//===----------------------------------------------------------------------===//

struct KivFileRead::Head {
  int64_t start = 0;
  int64_t end = 0;
  uint32_t tag = 0;
  uint32_t version = 0;
  int64_t headSize = 8;
  // The length lies behind the head, inside the file and inside the block
  // that holds it.
  bool fits = false;
};

KivFileRead::KivFileRead() = default;

KivFileRead::KivFileRead(BinInput* stream) { attach(stream); }

KivFileRead::~KivFileRead() { close(); }

void KivFileRead::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "KivFileRead");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDataModelReader");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "KivFileRead", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivDataModelReader", static_cast<IKivDataModelReader*>(this), out);
}

int64_t KivFileRead::innerEnd() {
  return depth_ > 0 ? ends_.at(depth_) : static_cast<int64_t>(stream_->size());
}

// A block is checked against the file only, not against the block that
// holds it: one that pokes out of its parent is read, and the parent's
// endBlock() seeks back to the parent's end. Every read stays inside the
// file; a caller that walks unknown blocks bounds its own work.
bool KivFileRead::readHead(Head* head, bool decidesWidth) {
  head->start = stream_->tell();
  uint32_t word = 0;
  if (!stream_->read(&word))
    return false;
  head->tag = word >> 8;
  head->version = word & 0xFF;
  if (decidesWidth && head->tag == kivtag::kRoot) {
    if (head->version != 0)
      stream_->useLength64();
    else
      stream_->useLength32();
  }
  uint64_t length = 0;
  if (stream_->lengthBits() == 64) {
    if (!stream_->read(&length))
      return false;
    head->headSize = 12;
  } else {
    uint32_t narrow = 0;
    if (!stream_->read(&narrow))
      return false;
    length = narrow;
    head->headSize = 8;
  }
  const uint64_t size = stream_->size();
  const uint64_t start = static_cast<uint64_t>(head->start);
  uint64_t end;
  if (length == 0 && head->tag == kivtag::kRoot)
    end = size;
  else
    end = length > UINT64_MAX - start ? UINT64_MAX : start + length;
  head->fits = end >= start + static_cast<uint64_t>(head->headSize) && end <= size &&
               end <= static_cast<uint64_t>(INT64_MAX);
  head->end = head->fits ? static_cast<int64_t>(end) : head->start;
  return true;
}

bool KivFileRead::nextBlock() {
  if (!good_)
    return false;
  Head head;
  bool valid = readHead(&head, true) && head.fits && stream_->good();
  tag_ = head.tag;
  version_ = head.version;
  if (valid && head.tag == kivtag::kSection)
    valid = head.end - head.start - head.headSize >= 16 && readClassIdBody(*stream_, &classId_);
  if (!valid) {
    stream_->seek(head.start, true);
    good_ = 0;
    return false;
  }
  ends_.push(head.end);
  ++depth_;
  return true;
}

bool KivFileRead::endBlock() {
  if (depth_ < 1) {
    if (good_)
      kivAssert("end_.size() > 0 || !good_", kFile, __LINE__);
    return true;
  }
  if (good_ && !stream_->seek(ends_.at(depth_), true))
    good_ = 0;
  ends_.pop();
  --depth_;
  if (good_ && !stream_->good())
    good_ = 0;
  return true;
}

bool KivFileRead::atBlockEnd() { return !good_ || stream_->tell() >= innerEnd(); }

int64_t KivFileRead::bytesLeft() {
  if (!good_)
    return 0;
  return std::max<int64_t>(0, innerEnd() - stream_->tell());
}

bool KivFileRead::good() { return good_ && stream_ && stream_->good(); }

bool KivFileRead::enterTyped(uint32_t tag, bool* entered) {
  *entered = nextBlock();
  if (*entered && tag_ != tag)
    good_ = 0;
  return *entered && good_;
}

// The numbers of an entered block are read all the same: of another tag
// (which has turned the reader bad), or shorter than its value, whose last
// numbers then come from the bytes behind it, as far as the file has any.
// endBlock() then goes back to the block's end. Nothing is read from a block
// that was not entered; the values stay zero.
template <class T>
bool KivFileRead::typedValues(uint32_t tag, T* values, size_t count) {
  std::fill(values, values + count, T());
  bool entered = false;
  enterTyped(tag, &entered);
  if (!entered)
    return false;
  stream_->read(values, count);
  endBlock();
  return true;
}

bool KivFileRead::typedBlock(uint32_t tag, double* values, size_t count) {
  return typedValues(tag, values, count);
}

// A class identifier, like 8-bit text, is read only while the reader is
// good; a short block gives the bytes behind it too.
bool KivFileRead::readClassId(KivClassId* out) {
  bool entered = false;
  KivClassId id;
  if (enterTyped(kivtag::kClassId, &entered) && !readClassIdBody(*stream_, &id))
    id = KivClassId{};
  if (entered)
    endBlock();
  *out = good_ ? id : KivClassId{};
  return true;
}

bool KivFileRead::readVector2F(Vector2F* out) {
  float v[2];
  typedValues(kivtag::kVector2F, v, 2);
  *out = Vector2F(v[0], v[1]);
  return true;
}

bool KivFileRead::readVector2D(Vector2D* out) {
  double v[2];
  typedBlock(kivtag::kVector2D, v, 2);
  *out = Vector2D(v[0], v[1]);
  return true;
}

bool KivFileRead::readMatrix(KivMatrix* out) {
  double v[16];
  KivMatrix m;
  if (typedBlock(kivtag::kMatrix, v, 16))
    std::copy(v, v + 16, m.m);
  *out = m;
  return true;
}

bool KivFileRead::readVector(KivVector* out) {
  double v[3];
  typedBlock(kivtag::kVector, v, 3);
  *out = KivVector(v[0], v[1], v[2]);
  return true;
}

bool KivFileRead::readCString(KivCString* out) {
  bool entered = false;
  bool ok = enterTyped(kivtag::kCString, &entered);
  char* text = nullptr;
  int32_t capacity = 0;
  if (ok) {
    const int64_t bytes = bytesLeft();
    ok = bytes <= kMaxTextBytes;
    if (ok) {
      text = static_cast<char*>(allocBuffer(static_cast<int32_t>(bytes) + 1, &capacity));
      ok = stream_->readRaw(text, static_cast<size_t>(bytes));
      text[ok ? bytes : 0] = '\0';
    }
  }
  if (!ok)
    good_ = 0;
  if (entered)
    endBlock();
  if (ok && good_) {
    out->adopt(text, capacity);
  } else {
    freeBuffer(capacity, text);
    *out = KivCString();
  }
  return true;
}

void KivFileRead::readStringBlock(KivString* out) {
  *out = KivString();
  Head head;
  if (!readHead(&head, false) || !head.fits || !stream_->good()) {
    // A string block that leaves the file fails the strings only: the
    // reader goes back to the block's head and stays good, and whoever
    // reads on finds the damage there.
    stream_->seek(head.start, true);
    stringsGood_ = 0;
    return;
  }
  if (head.tag != kivtag::kString) {
    // The head of the foreign block stays consumed.
    stringsGood_ = 0;
    return;
  }
  const int64_t bytes = head.end - head.start - head.headSize;
  if (bytes > kMaxTextBytes) {
    good_ = 0;
    stringsGood_ = 0;
    return;
  }
  const int32_t units = static_cast<int32_t>(bytes / 2);
  int32_t capacity = 0;
  auto* text = static_cast<KivChar*>(allocBuffer((units + 1) * 2, &capacity));
  if (!stream_->read(text, static_cast<size_t>(units)) || !stream_->seek(head.end, true)) {
    freeBuffer(capacity, text);
    good_ = 0;
    stringsGood_ = 0;
    return;
  }
  text[units] = 0;
  out->adoptWide(text, capacity);
}

bool KivFileRead::readString(KivString* out) {
  if (!good_ || !stringsGood_) {
    *out = KivString();
    return true;
  }
  readStringBlock(out);
  return true;
}

template <class T>
static bool readBare(uint8_t& good, BinInput* stream, T* out) {
  if (good && stream->read(out))
    return true;
  good = 0;
  *out = T();
  return false;
}

bool KivFileRead::readDouble(double* out) { return readBare(good_, stream_, out); }
bool KivFileRead::readFloat(float* out) { return readBare(good_, stream_, out); }
bool KivFileRead::readUInt32(uint32_t* out) { return readBare(good_, stream_, out); }
bool KivFileRead::readInt32(int32_t* out) { return readBare(good_, stream_, out); }
bool KivFileRead::readUInt8(uint8_t* out) { return readBare(good_, stream_, out); }

bool KivFileRead::readBool(bool* out) {
  uint8_t byte = 0;
  bool ok = readBare(good_, stream_, &byte);
  *out = byte != 0;
  return ok;
}

bool KivFileRead::readBinary(IKivBinaryIO* object) {
  if (!good_ || !object)
    return false;
  if (!object->read(*stream_))
    good_ = 0;
  return good_ != 0;
}

bool KivFileRead::readSerial(IKivSerial* object) {
  if (!good_ || !object)
    return false;
  return object->read(this);
}

const KivClassId* KivFileRead::peekClassId() {
  peekedClassId_ = KivClassId();
  if (!good_)
    return &peekedClassId_;
  const int64_t start = stream_->tell();
  uint32_t word = 0;
  bool ok = stream_->read(&word);
  if (stream_->lengthBits() == 64) {
    uint64_t length = 0;
    ok = ok && stream_->read(&length);
  } else {
    uint32_t length = 0;
    ok = ok && stream_->read(&length);
  }
  if (ok)
    readClassIdBody(*stream_, &peekedClassId_);
  stream_->seek(start, true);
  return &peekedClassId_;
}

bool KivFileRead::beginSection(IKivWriteable*, int* version) {
  const bool entered = nextBlock();
  if (version)
    *version = entered ? static_cast<int>(version_) : -1;
  if (entered && tag_ != kivtag::kSection)
    good_ = 0;
  return entered && tag_ == kivtag::kSection;
}

bool KivFileRead::endSection(IKivWriteable*) { return endBlock(); }

// A peek leaves no trace: neither the position nor the leniency of strings
// changes, unless the block is damaged.
const KivString* KivFileRead::peekPropertyName() {
  peekedName_ = KivString();
  if (!good_ || !stringsGood_)
    return &peekedName_;
  const int64_t start = stream_->tell();
  readStringBlock(&peekedName_);
  if (good_) {
    stringsGood_ = 1;
    stream_->seek(start, true);
  }
  return &peekedName_;
}

bool KivFileRead::beginProperty(KivString* name, KivClassId* out) {
  KivString read;
  readString(&read);
  if (name)
    *name = read;
  const KivClassId* id = peekClassId();
  if (out)
    *out = *id;
  return true;
}

bool KivFileRead::endProperty(const KivString&) { return true; }

uint32_t KivFileRead::peekTag() {
  if (!good_)
    return 0xFFFFFF;
  return stream_->peekMagic() >> 8;
}

BinInput* KivFileRead::createStream(const KivString& path) { return new BinInputFile(path); }

bool KivFileRead::open(const KivString& path) {
  if (stream_) {
    kivAssert("!bi_", kFile, __LINE__);
    return false;
  }
  if (path.isEmpty() || !kivplatform::isReadable(path.utf8Text()))
    return false;
  BinInput* stream = createStream(path);
  if (!stream->good()) {
    delete stream;
    return false;
  }
  attach(stream);
  ownsStream_ = 1;
  readRootHead();
  return true;
}

bool KivFileRead::readRootHead() {
  bool ok = nextBlock() && tag_ == kivtag::kRoot && version_ < 2;
  if (!ok)
    good_ = 0;
  return ok;
}

void KivFileRead::close() {
  if (!stream_) {
    good_ = 0;
    return;
  }
  // Leave an attached stream behind the root, where its owner reads on.
  if (good_ && depth_ > 0)
    stream_->seek(ends_.at(1), true);
  if (ownsStream_) {
    stream_->close();
    delete stream_;
  }
  stream_ = nullptr;
  ownsStream_ = 0;
  good_ = 0;
  depth_ = 0;
  ends_.clear();
}

void KivFileRead::attach(BinInput* stream) {
  if (stream_ && ownsStream_) {
    stream_->close();
    delete stream_;
  }
  stream_ = stream;
  ownsStream_ = 0;
  good_ = stream ? 1 : 0;
  stringsGood_ = 1;
  depth_ = 0;
  ends_.clear();
  tag_ = 0;
  version_ = 0;
  classId_ = KivClassId();
}

bool KivFileRead::expectBlock(uint32_t tag) {
  if (!nextBlock())
    return false;
  if (tag_ != tag)
    good_ = 0;
  return good_ != 0;
}

bool KivFileRead::expectBlock(uint32_t tag, int maxVersion) {
  if (!nextBlock())
    return false;
  if (tag_ != tag || static_cast<int>(version_) > maxVersion)
    good_ = 0;
  return good_ != 0;
}

bool KivFileRead::skipBlock() {
  if (nextBlock())
    endBlock();
  return good();
}

bool KivFileRead::peekObject(const KivClassId& id, int* version) {
  if (version)
    *version = -1;
  if (!good_)
    return false;
  Head head;
  KivClassId found;
  bool ok = readHead(&head, false) && head.fits && head.tag == kivtag::kSection &&
            head.end - head.start - head.headSize >= 16 && readClassIdBody(*stream_, &found) &&
            found == id;
  if (ok && version)
    *version = static_cast<int>(head.version);
  stream_->seek(head.start, true);
  return ok;
}

bool KivFileRead::peekBlock(uint32_t tag, int* version) {
  if (version)
    *version = -1;
  if (!good_)
    return false;
  Head head;
  bool ok = readHead(&head, false) && head.tag == tag;
  if (ok && version)
    *version = static_cast<int>(head.version);
  stream_->seek(head.start, true);
  return ok;
}

bool KivFileRead::readFourDoubles(double* values) { return typedBlock(kivtag::kFourDoubles, values, 4); }

//===----------------------------------------------------------------------===//
// Stream forms of the four-double block
//===----------------------------------------------------------------------===//

IKivDataModelWriter& operator<<(IKivDataModelWriter& w, const KivQuaternion& q) {
  w.beginBlock(kivtag::kFourDoubles, 0);
  w.writeDouble(q.w);
  w.writeDouble(q.x);
  w.writeDouble(q.y);
  w.writeDouble(q.z);
  w.endBlock();
  return w;
}

// Only KivFileRead can tell a wrong tag; any other reader gets the doubles
// read through its interface.
IKivDataModelReader& operator>>(IKivDataModelReader& r, KivQuaternion& q) {
  double v[4] = {};
  if (auto* file = kivQuery<KivFileRead>(&r, "KivFileRead")) {
    if (file->readFourDoubles(v))
      q = KivQuaternion(v[0], v[1], v[2], v[3]);
    else
      q = KivQuaternion();
    return r;
  }
  if (r.nextBlock()) {
    for (double& d : v)
      r.readDouble(&d);
    r.endBlock();
  }
  q = KivQuaternion(v[0], v[1], v[2], v[3]);
  return r;
}
