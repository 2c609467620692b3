//===- qtanchor.h - The Qt object of the Qt anchor ---------------*- C++ -*-===//
//
// A QObject with one declared int property whose setter emits valueChanged
// when the value changes, as Qt's own classes do; dynamic properties are
// set through QObject::setProperty on names the class doesn't declare.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <QObject>

class QtAnchorObject : public QObject {
  Q_OBJECT
  Q_PROPERTY(int value READ value WRITE setValue NOTIFY valueChanged)

public:
  int value() const { return value_; }
  void setValue(int v) {
    if (v == value_)
      return;
    value_ = v;
    emit valueChanged(v);
  }

signals:
  void valueChanged(int value);

private:
  int value_ = 0;
};

class QtAnchorSlot : public QObject {
  Q_OBJECT

public:
  int64_t sum = 0;

public slots:
  void onValue(int value) { sum += value; }
};
