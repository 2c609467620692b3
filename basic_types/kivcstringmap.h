//===- kivcstringmap.h - Ordered map keyed by KivString ---------*- C++ -*-===//
//
// KivCStringMap<V> orders its keys by KivString::compare (null and empty are
// the same key) and can be searched with 8-bit text, widened as KivString
// widens it, without building a KivString. A null text is a programmer's
// fault, reported as "data_", and finds nothing. The tree is a std::map with
// a transparent comparator behind a pointer; a moved-from map has no tree and
// acts as an empty one until something is added. Iteration runs in key order
// over pairs of (const KivString, V); insertions keep iterators valid, a
// removal invalidates only the removed entry's.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivassert.h"
#include "kivbasictypes/kivstring.h"

#include <cstdint>
#include <map>
#include <utility>

struct KivStringLess {
  using is_transparent = void;
  bool operator()(const KivString& a, const KivString& b) const { return a.compare(b) < 0; }
  bool operator()(const KivString& a, const char* b) const { return a.compare(b) < 0; }
  bool operator()(const char* a, const KivString& b) const { return b.compare(a) > 0; }
};

template <class V>
class KivCStringMap {
public:
  using Tree = std::map<KivString, V, KivStringLess>;
  using iterator = typename Tree::iterator;
  using const_iterator = typename Tree::const_iterator;

  KivCStringMap() : tree_(new Tree) {}
  KivCStringMap(const KivCStringMap& other) : tree_(new Tree(other.tree_ ? *other.tree_ : Tree())) {}
  KivCStringMap(KivCStringMap&& other) noexcept : tree_(std::exchange(other.tree_, nullptr)) {}
  KivCStringMap& operator=(const KivCStringMap& other) {
    if (this != &other) {
      KivCStringMap copy(other);
      std::swap(tree_, copy.tree_);
    }
    return *this;
  }
  KivCStringMap& operator=(KivCStringMap&& other) noexcept {
    if (this != &other) {
      delete tree_;
      tree_ = std::exchange(other.tree_, nullptr);
    }
    return *this;
  }
  ~KivCStringMap() { delete tree_; }

  int32_t count() const { return tree_ ? static_cast<int32_t>(tree_->size()) : 0; }

  bool find(const char* key, V* out) const {
    const V* value = lookup(key);
    if (!value)
      return false;
    if (out)
      *out = *value;
    return true;
  }
  bool find(const KivString& key, V* out) const {
    const V* value = lookup(key);
    if (!value)
      return false;
    if (out)
      *out = *value;
    return true;
  }
  bool contains(const char* key) const { return lookup(key) != nullptr; }
  bool contains(const KivString& key) const { return lookup(key) != nullptr; }

  // The stored value itself, or null: no copy of V.
  V* value(const char* key) { return const_cast<V*>(lookup(key)); }
  V* value(const KivString& key) { return const_cast<V*>(lookup(key)); }

  // Creates an entry with a zero value if the key is absent.
  V& operator[](const KivString& key) {
    Tree& tree = ensureTree();
    auto it = tree.lower_bound(key);
    if (it == tree.end() || key.compare(it->first) != 0)
      it = tree.emplace_hint(it, key, V());
    return it->second;
  }

  bool remove(const char* key) {
    if (!checkKey(key) || !tree_)
      return false;
    auto it = tree_->find(key);
    if (it == tree_->end())
      return false;
    tree_->erase(it);
    return true;
  }
  bool remove(const KivString& key) { return tree_ && tree_->erase(key) > 0; }

  // An entry taken out with its key and value, and put back: a map that is
  // emptied and refilled over and over keeps its entries' memory this way.
  using Node = typename Tree::node_type;
  Node extract(iterator it) { return ensureTree().extract(it); }
  // False, and the node left with the caller, when its key is already there.
  bool insert(Node& node) {
    auto result = ensureTree().insert(std::move(node));
    if (!result.inserted)
      node = std::move(result.node);
    return result.inserted;
  }
  void clear() {
    if (tree_)
      tree_->clear();
  }

  iterator begin() { return ensureTree().begin(); }
  iterator end() { return ensureTree().end(); }
  const_iterator begin() const { return tree_ ? tree_->cbegin() : emptyTree().cbegin(); }
  const_iterator end() const { return tree_ ? tree_->cend() : emptyTree().cend(); }

private:
  static bool checkKey(const char* key) {
    if (key)
      return true;
    kivAssert("data_", "basic_types/kivcstringmap", __LINE__);
    return false;
  }

  const V* lookup(const char* key) const {
    if (!checkKey(key) || !tree_)
      return nullptr;
    auto it = tree_->find(key);
    return it == tree_->end() ? nullptr : &it->second;
  }
  const V* lookup(const KivString& key) const {
    if (!tree_)
      return nullptr;
    auto it = tree_->find(key);
    return it == tree_->end() ? nullptr : &it->second;
  }

  Tree& ensureTree() {
    if (!tree_)
      tree_ = new Tree;
    return *tree_;
  }
  static const Tree& emptyTree() {
    static const Tree empty;
    return empty;
  }

  Tree* tree_;
};
