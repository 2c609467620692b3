//===- map.cpp - Bucket counts and the hashes of the key types ------------===//
#include "basic_types/map.h"

#include "core/kivclassid.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivstring.h"

#include <cstring>
#include <iterator>

namespace {

// Roughly doubling primes; the list and its order are part of how maps grow.
constexpr uint32_t kBucketCounts[] = {
    2u,         3u,         5u,         11u,        17u,        37u,        67u,
    131u,       257u,       521u,       1031u,      2053u,      4099u,      8209u,
    16411u,     32771u,     65537u,     131101u,    262147u,    524309u,    1048583u,
    2097169u,   4194319u,   8388617u,   16777259u,  33554467u,  67108879u,  134217757u,
    268435459u, 536870923u, 1073741827u, 2147483659u};

} // namespace

uint32_t nextPrime(uint32_t n) {
  for (uint32_t prime : kBucketCounts)
    if (prime > n)
      return prime;
  return kBucketCounts[std::size(kBucketCounts) - 1];
}

uint32_t MapHash<const char*>::operator()(const char* key) const { return kivHashText(key); }

bool MapHash<const char*>::equal(const char* a, const char* b) const {
  if (!a || !b)
    return a == b;
  return std::strcmp(a, b) == 0;
}

uint32_t MapHash<KivCString>::operator()(const KivCString& key) const {
  return kivHashText(key.text());
}

bool MapHash<KivCString>::equal(const KivCString& a, const KivCString& b) const { return a == b; }

uint32_t MapHash<KivString>::operator()(const KivString& key) const { return key.hash(); }

bool MapHash<KivString>::equal(const KivString& a, const KivString& b) const { return a == b; }

uint32_t MapHash<KivClassId>::operator()(const KivClassId& key) const { return key.data1; }

bool MapHash<KivClassId>::equal(const KivClassId& a, const KivClassId& b) const { return a == b; }
