//===- arrayproperties.cpp - The properties of the array family -----------===//
#include "properties/arrayproperties.h"

#include "kivbasictypes/binio.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "kivbasictypes/kivbinaryio.h"
#include "properties/valuefit.h"

#include <cstdint>
#include <type_traits>

template <>
struct StoredElement<int> {
  static void write(IKivDataModelWriter* w, int v) { w->writeInt32(v); }
  static bool read(IKivDataModelReader* r, int& v) { return r->readInt32(&v); }
  static int64_t bytes(IKivDataModelReader*) { return 4; }
};
template <>
struct StoredElement<unsigned char> {
  static void write(IKivDataModelWriter* w, unsigned char v) { w->writeUInt8(v); }
  static bool read(IKivDataModelReader* r, unsigned char& v) { return r->readUInt8(&v); }
  static int64_t bytes(IKivDataModelReader*) { return 1; }
};
template <>
struct StoredElement<double> {
  static void write(IKivDataModelWriter* w, double v) { w->writeDouble(v); }
  static bool read(IKivDataModelReader* r, double& v) { return r->readDouble(&v); }
  static int64_t bytes(IKivDataModelReader*) { return 8; }
};
template <>
struct StoredElement<KivColor> {
  static void write(IKivDataModelWriter* w, const KivColor& c) {
    w->writeFloat(c.r);
    w->writeFloat(c.g);
    w->writeFloat(c.b);
    w->writeFloat(c.a);
  }
  static bool read(IKivDataModelReader* r, KivColor& c) {
    return r->readFloat(&c.r) && r->readFloat(&c.g) && r->readFloat(&c.b) && r->readFloat(&c.a);
  }
  static int64_t bytes(IKivDataModelReader*) { return 16; }
};
template <>
struct StoredElement<KivString> {
  static void write(IKivDataModelWriter* w, const KivString& s) { w->writeString(s); }
  static bool read(IKivDataModelReader* r, KivString& s) { return r->readString(&s); }
  static int64_t bytes(IKivDataModelReader* r) { return typedBlockBytes(r, 0); }
};
template <>
struct StoredElement<Vector2D> {
  static void write(IKivDataModelWriter* w, const Vector2D& v) { w->writeVector2D(v); }
  static bool read(IKivDataModelReader* r, Vector2D& v) { return r->readVector2D(&v); }
  static int64_t bytes(IKivDataModelReader* r) { return typedBlockBytes(r, 16); }
};
template <>
struct StoredElement<Vector2F> {
  static void write(IKivDataModelWriter* w, const Vector2F& v) { w->writeVector2F(v); }
  static bool read(IKivDataModelReader* r, Vector2F& v) { return r->readVector2F(&v); }
  static int64_t bytes(IKivDataModelReader* r) { return typedBlockBytes(r, 8); }
};
template <>
struct StoredElement<KivVector> {
  static void write(IKivDataModelWriter* w, const KivVector& v) { w->writeVector(v); }
  static bool read(IKivDataModelReader* r, KivVector& v) { return r->readVector(&v); }
  static int64_t bytes(IKivDataModelReader* r) { return typedBlockBytes(r, 24); }
};
template <>
struct StoredElement<KivMatrix> {
  static void write(IKivDataModelWriter* w, const KivMatrix& m) { w->writeMatrix(m); }
  static bool read(IKivDataModelReader* r, KivMatrix& m) { return r->readMatrix(&m); }
  static int64_t bytes(IKivDataModelReader* r) { return typedBlockBytes(r, 128); }
};

namespace {

template <class Array>
constexpr bool kIs2D = std::is_same_v<Array, DoubleArray2D> || std::is_same_v<Array, Vector3DArray2D>;

template <class Array>
using ElementOf = typename Array::ElementType;

// The element's bytes for memorySize: strings count their 16-bit units.
template <class T>
uint64_t elementBytes(const T&) {
  return sizeof(T);
}
uint64_t elementBytes(const KivString& s) {
  return sizeof(KivString) + static_cast<uint64_t>(s.length()) * 2;
}

} // namespace

template <class Derived, class Interface, class Array>
uint64_t TArrayProperty<Derived, Interface, Array>::memorySize() const {
  uint64_t size = sizeof(Derived);
  if (Array* array = this->get()) {
    if constexpr (kIs2D<Array>) {
      size += sizeof(ElementOf<Array>) * static_cast<uint64_t>(array->rows()) *
              static_cast<uint64_t>(array->columns());
    } else {
      for (int i = 0; i < array->count(); ++i)
        size += elementBytes(array->get(i));
    }
  }
  return size;
}

template <class Derived, class Interface, class Array>
void TArrayProperty<Derived, Interface, Array>::writeValue(IKivDataModelWriter* writer,
                                                            Array* value) {
  using S = StoredElement<ElementOf<Array>>;
  if constexpr (kIs2D<Array>) {
    if (!value) {
      writer->writeInt32(-1);
      return;
    }
    writer->writeInt32(value->rows());
    writer->writeInt32(value->columns());
    for (int r = 0; r < value->rows(); ++r)
      for (int c = 0; c < value->columns(); ++c)
        S::write(writer, value->get(r, c));
  } else {
    writer->writeInt32(value ? value->count() : -1);
    if (value)
      for (int i = 0; i < value->count(); ++i)
        S::write(writer, value->get(i));
  }
}

template <class Derived, class Interface, class Array>
void TArrayProperty<Derived, Interface, Array>::readValue(IKivDataModelReader* reader,
                                                           Derived* property) {
  using T = ElementOf<Array>;
  using S = StoredElement<T>;
  int32_t count = 0;
  if (!sectionHolds(reader, 4) || !reader->readInt32(&count))
    return;
  if (count < 0) {
    property->set(nullptr);
    return;
  }
  int64_t elements = count;
  int32_t columns = 1;
  if constexpr (kIs2D<Array>) {
    if (!sectionHolds(reader, 4) || !reader->readInt32(&columns) || columns < 0)
      return;
    // 64-bit product: a width times height that overflows 32 bits can't
    // be held by any section and is left unread below.
    elements = int64_t{count} * columns;
  }
  // A count the section can't hold is a lie: leave the property as it was.
  // The product is checked before it is formed, so that it can't overflow.
  const int64_t bytes = S::bytes(reader);
  if (elements > INT64_MAX / bytes || !sectionHolds(reader, elements * bytes))
    return;
  IPtr<Array> array(new Array);
  for (int64_t i = 0; i < elements; ++i) {
    T value{};
    if (!S::read(reader, value))
      return;
    if constexpr (kIs2D<Array>) {
      // No store in this system: the elements are read past, as a class
      // supplied by a host would take them.
      array->set(static_cast<int>(i / columns), static_cast<int>(i % columns), value);
    } else {
      array->append(value);
    }
  }
  property->set(array.get());
}

template class TArrayProperty<IntArrayProperty, IKivIntArrayProperty, IntArray>;
template class TArrayProperty<ByteArrayProperty, IKivByteArrayProperty, ByteArray>;
template class TArrayProperty<DoubleArrayProperty, IKivDoubleArrayProperty, DoubleArray>;
template class TArrayProperty<ColorArrayProperty, IKivColorArrayProperty, ColorArray>;
template class TArrayProperty<StringArrayProperty, IKivStringArrayProperty, StringArray>;
template class TArrayProperty<Vector2DArrayProperty, IKivVector2DArrayProperty, Vector2DArray>;
template class TArrayProperty<Vector2FArrayProperty, IKivVector2FArrayProperty, Vector2FArray>;
template class TArrayProperty<Vector3DArrayProperty, IKivVector3DArrayProperty, Vector3DArray>;
template class TArrayProperty<Array3DProperty, IKivArray3DProperty, Array3D>;
template class TArrayProperty<Transform3DArrayProperty, IKivTransform3DArrayProperty,
                              Transform3DArray>;
template class TArrayProperty<DoubleArray2DProperty, IKivDoubleArray2DProperty, DoubleArray2D>;
template class TArrayProperty<Vector3DArray2DProperty, IKivVector3DArray2DProperty,
                              Vector3DArray2D>;

uint64_t ImageArrayProperty::memorySize() const {
  uint64_t size = sizeof(ImageArrayProperty);
  if (ImageArray* array = get())
    for (int i = 0; i < array->count(); ++i)
      if (KivImage* image = array->get(i))
        size += static_cast<uint64_t>(image->byteCount());
  return size;
}

bool ImageArrayProperty::write(IKivDataModelWriter* writer) {
  writer->beginSection(this, 1);
  Property::write(writer);
  ImageArray* array = get();
  writer->writeInt32(array ? array->count() : -1);
  if (array)
    for (int i = 0; i < array->count(); ++i) {
      KivImage* image = array->get(i);
      KivImage empty;
      KivBinaryIO<KivImage> io(image ? image : &empty);
      writer->writeBinary(&io);
    }
  writer->endSection(this);
  return true;
}

bool ImageArrayProperty::read(IKivDataModelReader* reader) {
  int version = -1;
  if (reader->beginSection(this, &version) && version == 1) {
    Property::read(reader);
    int32_t count = 0;
    if (sectionHolds(reader, 4) && reader->readInt32(&count)) {
      if (count < 0) {
        set(nullptr);
      } else if (sectionHolds(reader, count)) {
        // Each image takes at least a byte: a larger count is a lie.
        IPtr<ImageArray> array(new ImageArray);
        bool whole = true;
        for (int32_t i = 0; i < count && whole; ++i) {
          IPtr<KivImage> image(new KivImage);
          KivBinaryIO<KivImage> io(image.get());
          whole = reader->readBinary(&io) && reader->good();
          if (whole)
            array->append(image.get());
        }
        if (whole)
          set(array.get());
      }
    }
  }
  reader->endSection(this);
  return true;
}
