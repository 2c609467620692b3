//===- map.h - Chained hash map with prime table sizes ----------*- C++ -*-===//
//
// Map<K, V, Hash> keeps its entries in chains hanging off a table of prime
// size; the table is allocated at the first insertion. After each insertion
// that brings count to 0.8 of the table size the table grows to the next
// prime of nextPrime's list and every node moves to the head of its new
// chain, so node addresses stay valid across growth but the iteration order
// changes. New nodes go to the head of their chain. Keys are stored as copies
// of K: a `const char*` key or a KivCString view keeps pointing at the
// caller's text, which must outlive the entry. Hash supplies both the hash
// (operator()) and the key equality (equal). Iteration walks the table from
// bucket 0 upward and each chain from its head; it is not meant to survive
// insertions or removals. No locking.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivassert.h"
#include "kivbasictypes/tovrealloc.h"

#include <cstdint>
#include <cstdlib>
#include <new>
#include <type_traits>
#include <utility>

class KivCString;
class KivString;
struct KivClassId;

// The first entry of the table of bucket counts that is greater than n, or
// the last one if none is.
uint32_t nextPrime(uint32_t n);

// Hash and equality of a key type. Integers and enums hash to their value,
// pointers to their address folded to 32 bits; both compare with ==.
template <class K>
struct MapHash {
  static_assert(std::is_integral_v<K> || std::is_enum_v<K> || std::is_pointer_v<K>,
                "no MapHash for this key type");
  uint32_t operator()(const K& key) const {
    if constexpr (std::is_pointer_v<K>) {
      const uint64_t address = reinterpret_cast<uintptr_t>(key);
      return static_cast<uint32_t>(address ^ (address >> 32));
    } else {
      const uint64_t value = static_cast<uint64_t>(key);
      return static_cast<uint32_t>(value ^ (value >> 32));
    }
  }
  bool equal(const K& a, const K& b) const { return a == b; }
};

// 8-bit text: djb2 over signed characters, 0 for null; byte comparison, null
// equal only to null.
template <>
struct MapHash<const char*> {
  uint32_t operator()(const char* key) const;
  bool equal(const char* a, const char* b) const;
};
template <>
struct MapHash<KivCString> {
  uint32_t operator()(const KivCString& key) const;
  bool equal(const KivCString& a, const KivCString& b) const;
};
// The sum of the 16-bit units; equality as KivString ==.
template <>
struct MapHash<KivString> {
  uint32_t operator()(const KivString& key) const;
  bool equal(const KivString& a, const KivString& b) const;
};
// The first 32-bit field alone; equality on all 16 bytes.
template <>
struct MapHash<KivClassId> {
  uint32_t operator()(const KivClassId& key) const;
  bool equal(const KivClassId& a, const KivClassId& b) const;
};

template <class K, class V, class Hash = MapHash<K>>
class Map {
public:
  struct Node {
    uint32_t bucket;
    K key;
    V value;
    Node* next;
  };

  // Iteration: for (bool ok = it.first(); ok; ok = it.next()) ...
  class Iterator {
  public:
    explicit Iterator(const Map& map) : map_(&map) {}
    bool first() { return startAt(0); }
    bool next() {
      if (!node_)
        return false;
      if (node_->next) {
        node_ = node_->next;
        return true;
      }
      return startAt(node_->bucket + 1);
    }
    const K& key() const { return node_->key; }
    V& value() const { return node_->value; }
    Node* node() const { return node_; }

  private:
    bool startAt(uint32_t bucket) {
      node_ = nullptr;
      if (!map_->buckets_)
        return false;
      for (; bucket < map_->bucketCount_; ++bucket) {
        if (map_->buckets_[bucket]) {
          node_ = map_->buckets_[bucket];
          return true;
        }
      }
      return false;
    }

    const Map* map_;
    Node* node_ = nullptr;
  };

  // The table size is taken as given; nextPrime(expected) is the usual choice.
  explicit Map(uint32_t bucketCount = 17) : bucketCount_(bucketCount) {}
  Map(Map&& other) noexcept
      : buckets_(std::exchange(other.buckets_, nullptr)), bucketCount_(other.bucketCount_),
        count_(std::exchange(other.count_, 0)) {}
  Map& operator=(Map&& other) noexcept {
    if (this != &other) {
      clear();
      std::free(buckets_);
      buckets_ = std::exchange(other.buckets_, nullptr);
      bucketCount_ = other.bucketCount_;
      count_ = std::exchange(other.count_, 0);
    }
    return *this;
  }
  Map(const Map&) = delete;
  Map& operator=(const Map&) = delete;
  ~Map() {
    clear();
    std::free(buckets_);
  }

  int32_t count() const { return count_; }
  uint32_t bucketCount() const { return bucketCount_; }

  // The node of `key`, or null.
  Node* find(const K& key) const {
    if (!buckets_)
      return nullptr;
    return findIn(buckets_[hash_(key) % bucketCount_], key);
  }
  bool contains(const K& key) const { return find(key) != nullptr; }

  // The value of `key`; a new key gets a node with a zero value.
  V& operator[](const K& key) {
    if (!buckets_) {
      // A table size of 0 would leave nowhere to hash to.
      if (bucketCount_ == 0)
        bucketCount_ = nextPrime(0);
      buckets_ = allocateTable(bucketCount_);
    }
    const uint32_t bucket = hash_(key) % bucketCount_;
    if (Node* node = findIn(buckets_[bucket], key))
      return node->value;
    Node* node = new (std::nothrow) Node{bucket, key, V(), buckets_[bucket]};
    if (!node)
      tovOutOfMemory(static_cast<int64_t>(sizeof(Node)));
    buckets_[bucket] = node;
    ++count_;
    growIfFull();
    return node->value;
  }

  // The value of a key that must be present. A missing key is a programmer's
  // fault: it is reported, and the reference given then is to a scratch value
  // that the caller must not rely on.
  V& get(const K& key) {
    if (Node* node = find(key))
      return node->value;
    kivAssert("0", "basic_types/map", 250);
    static V missing{};
    return missing;
  }

  // Removes the entry of `key`; false if there was none.
  bool remove(const K& key) {
    if (!buckets_)
      return false;
    Node** link = &buckets_[hash_(key) % bucketCount_];
    for (Node* node = *link; node; link = &node->next, node = node->next) {
      if (hash_.equal(node->key, key)) {
        *link = node->next;
        delete node;
        --count_;
        return true;
      }
    }
    return false;
  }

  // Deletes all entries; the table keeps its size.
  void clear() {
    if (!buckets_)
      return;
    for (uint32_t b = 0; b < bucketCount_; ++b) {
      Node* node = buckets_[b];
      while (node) {
        Node* next = node->next;
        delete node;
        node = next;
      }
      buckets_[b] = nullptr;
    }
    count_ = 0;
  }

private:
  Node* findIn(Node* chain, const K& key) const {
    for (Node* node = chain; node; node = node->next)
      if (hash_.equal(node->key, key))
        return node;
    return nullptr;
  }

  static Node** allocateTable(uint32_t size) {
    void* table = std::calloc(size, sizeof(Node*));
    if (!table)
      tovOutOfMemory(static_cast<int64_t>(size) * static_cast<int64_t>(sizeof(Node*)));
    return static_cast<Node**>(table);
  }

  void growIfFull() {
    if (static_cast<double>(count_) < static_cast<double>(bucketCount_) * 0.8)
      return;
    const uint32_t size = nextPrime(bucketCount_);
    if (size == 0 || size == bucketCount_)
      return;
    Node** table = allocateTable(size);
    for (uint32_t b = 0; b < bucketCount_; ++b) {
      Node* node = buckets_[b];
      while (node) {
        Node* next = node->next;
        const uint32_t bucket = hash_(node->key) % size;
        node->bucket = bucket;
        node->next = table[bucket];
        table[bucket] = node;
        node = next;
      }
    }
    std::free(buckets_);
    buckets_ = table;
    bucketCount_ = size;
  }

  Node** buckets_ = nullptr;
  uint32_t bucketCount_;
  int32_t count_ = 0;
  [[no_unique_address]] Hash hash_;
};
