//===- hostpersistentrefmap.cpp - The reference host's object numbers -----===//
#include "host/hostpersistentrefmap.h"

#include "basic_types/iterstack.h"

#include <algorithm>
#include <utility>

HostPersistentRefMap::HostPersistentRefMap() = default;

HostPersistentRefMap::~HostPersistentRefMap() { reset(); }

void HostPersistentRefMap::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostPersistentRefMap", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivPersistentRefMap", static_cast<IKivPersistentRefMap*>(this), out);
}

bool HostPersistentRefMap::find(uint32_t refId, IKivPersistentRef** out) {
  auto it = byId_.find(refId);
  IKivPersistentRef* object = it == byId_.end() ? nullptr : it->second.object;
  if (out)
    *out = object;
  return object != nullptr;
}

void HostPersistentRefMap::setObject(uint32_t refId, IKivPersistentRef* object) {
  if (refId == 0 || !object)
    return;
  Entry& entry = byId_[refId];
  if (entry.object)
    return;
  entry.object = object;
  entry.held = object;
  byObject_.emplace(object, refId);

  // Detached first: a callback may add to this number's list or reset the
  // table. The local reference keeps the object alive through a reset.
  std::vector<IPtr<IKivPersistentRefCallback>> waiting = std::move(entry.waiting);
  entry.waiting.clear();
  IPtr<IKivPersistentRef> keep(object);
  for (IPtr<IKivPersistentRefCallback>& callback : waiting)
    callback->resolved(refId, object);
}

bool HostPersistentRefMap::contains(IKivPersistentRef* object) {
  return object && byObject_.count(object) != 0;
}

uint32_t HostPersistentRefMap::getId(IKivPersistentRef* object) {
  if (!object)
    return 0;
  auto known = byObject_.find(object);
  if (known != byObject_.end())
    return known->second;
  // Numbers claimed by a read, or only asked for, are not handed out again.
  while (nextId_ == 0 || byId_.count(nextId_) != 0)
    ++nextId_;
  const uint32_t id = nextId_++;
  Entry& entry = byId_[id];
  entry.object = object;
  entry.handedOut = true;
  byObject_.emplace(object, id);
  return id;
}

void HostPersistentRefMap::reset() {
  // Moved out first, so that objects and callbacks that die here and call
  // back into the table find it already empty.
  std::unordered_map<uint32_t, Entry> entries = std::move(byId_);
  byId_.clear();
  byObject_.clear();
  nextId_ = 1;
  entries.clear();
}

void HostPersistentRefMap::addCallback(uint32_t refId, IKivPersistentRefCallback* callback) {
  if (refId == 0 || !callback)
    return;
  Entry& entry = byId_[refId];
  if (entry.object) {
    // Resolved at once. The caller holds the callback for the length of its
    // own call; an object claimed by a read stays alive even if the callback
    // resets the table (one only numbered by getId is its owner's business).
    IKivPersistentRef* object = entry.object;
    IPtr<IKivPersistentRef> keep(entry.held);
    callback->resolved(refId, object);
    return;
  }
  entry.waiting.emplace_back(callback);
}

void HostPersistentRefMap::setWritten(uint32_t refId) {
  auto it = byId_.find(refId);
  if (it != byId_.end() && it->second.object)
    it->second.written = true;
}

void HostPersistentRefMap::getUnwritten(IterStack<int32_t>& out) {
  std::vector<uint32_t> ids;
  for (const auto& [id, entry] : byId_)
    if (entry.handedOut && !entry.written)
      ids.push_back(id);
  std::sort(ids.begin(), ids.end());
  for (uint32_t id : ids)
    out.push(static_cast<int32_t>(id));
}

size_t HostPersistentRefMap::objectCount() const {
  size_t count = 0;
  for (const auto& [id, entry] : byId_)
    if (entry.object)
      ++count;
  return count;
}

size_t HostPersistentRefMap::waitingCount() const {
  size_t count = 0;
  for (const auto& [id, entry] : byId_)
    count += entry.waiting.size();
  return count;
}
