//===- descriptions.cpp - The documentation store of properties -----------===//
#include "properties/descriptions.h"

#include "core/kivassert.h"

Descriptions::Descriptions() : texts_(nextPrime(50)) {}

Descriptions::~Descriptions() = default;

void Descriptions::set(const KivString& key, const KivString& text) { texts_[key] = text; }

const KivString& Descriptions::get(const KivString& key) {
  if (auto* node = texts_.find(key))
    return node->value;
  kivAssert("contains(key)", "properties/descriptions", __LINE__);
  return KivString::empty();
}

bool Descriptions::contains(const KivString& key) const { return texts_.contains(key); }

Descriptions& Descriptions::instance() {
  static Descriptions store;
  return store;
}
