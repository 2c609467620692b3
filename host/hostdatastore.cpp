//===- hostdatastore.cpp - The reference host's settings store ------------===//
#include "host/hostdatastore.h"

#include "host/utf8.h"
#include "kivbasictypes/kivstring.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <utility>

namespace {

const char* kindName(int kind) {
  switch (kind) {
  case kDataStoreInt:
    return "int";
  case kDataStoreDouble:
    return "double";
  case kDataStoreCString:
    return "cstring";
  case kDataStoreString:
    return "string";
  default:
    return "unknown";
  }
}

int kindOfName(const std::string& name) {
  for (int kind = kDataStoreInt; kind <= kDataStoreString; ++kind)
    if (name == kindName(kind))
      return kind;
  return 0;
}

std::string escape(const std::string& text, bool isKey) {
  std::string out;
  for (char c : text) {
    switch (c) {
    case '\\':
      out += "\\\\";
      break;
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '=':
      out += isKey ? "\\=" : "=";
      break;
    default:
      out += c;
    }
  }
  return out;
}

bool unescape(const std::string& text, std::string* out) {
  out->clear();
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      *out += text[i];
      continue;
    }
    if (++i == text.size())
      return false;
    switch (text[i]) {
    case '\\':
      *out += '\\';
      break;
    case 'n':
      *out += '\n';
      break;
    case 'r':
      *out += '\r';
      break;
    case '=':
      *out += '=';
      break;
    default:
      return false;
    }
  }
  return true;
}

std::u16string wideOf(const KivString& value) {
  return std::u16string(value.wideText(), static_cast<size_t>(value.length()));
}

} // namespace

HostDataStore::HostDataStore() = default;

HostDataStore::~HostDataStore() = default;

void HostDataStore::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostDataStore", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IDataStore", static_cast<IDataStore*>(this), out);
}

void HostDataStore::addGroup(const char* group) {
  std::lock_guard<std::mutex> lock(mutex_);
  groups_.insert(group);
}

bool HostDataStore::hasGroup(const char* group) {
  std::lock_guard<std::mutex> lock(mutex_);
  return groups_.count(group) != 0;
}

void HostDataStore::removeKey(const char* key) {
  std::lock_guard<std::mutex> lock(mutex_);
  entries_.erase(key);
}

void HostDataStore::constrain(Entry& entry) {
  switch (entry.kind) {
  case kDataStoreInt:
    if (entry.intMin < entry.intMax)
      entry.intValue = std::clamp(entry.intValue, entry.intMin, entry.intMax);
    break;
  case kDataStoreDouble:
    if (entry.doubleMin < entry.doubleMax) {
      // NaN has no place in a range; the default stands in for it.
      if (std::isnan(entry.doubleValue))
        entry.doubleValue = entry.doubleDefault;
      if (!std::isnan(entry.doubleValue))
        entry.doubleValue = std::clamp(entry.doubleValue, entry.doubleMin, entry.doubleMax);
      else
        entry.doubleValue = entry.doubleMin;
    }
    break;
  case kDataStoreCString:
    if (entry.maxLength > 0 && entry.text.size() > static_cast<size_t>(entry.maxLength))
      entry.text.resize(static_cast<size_t>(entry.maxLength));
    break;
  case kDataStoreString:
    if (entry.maxLength > 0 && entry.wide.size() > static_cast<size_t>(entry.maxLength))
      entry.wide.resize(static_cast<size_t>(entry.maxLength));
    break;
  }
}

HostDataStore::Change HostDataStore::describe(const Entry& entry) const {
  Change change;
  change.kind = entry.kind;
  switch (entry.kind) {
  case kDataStoreInt:
    change.intValue = entry.intValue;
    break;
  case kDataStoreDouble:
    change.doubleValue = entry.doubleValue;
    break;
  case kDataStoreCString:
    change.text = entry.text;
    break;
  case kDataStoreString:
    change.wide = entry.wide;
    break;
  }
  return change;
}

namespace {

bool sameValue(int kind, int a, int b, double x, double y, const std::string& s,
               const std::string& t, const std::u16string& u, const std::u16string& v) {
  switch (kind) {
  case kDataStoreInt:
    return a == b;
  case kDataStoreDouble:
    return x == y || (std::isnan(x) && std::isnan(y));
  case kDataStoreCString:
    return s == t;
  default:
    return u == v;
  }
}

} // namespace

template <class Declare>
void HostDataStore::declare(const char* key, int kind, Declare fill) {
  Change before, after;
  bool changed = false;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = entries_.find(key);
    if (it == entries_.end() || it->second.kind != kind) {
      Entry entry;
      entry.kind = kind;
      fill(entry);
      entry.intValue = entry.intDefault;
      entry.doubleValue = entry.doubleDefault;
      entry.text = entry.textDefault;
      entry.wide = entry.wideDefault;
      constrain(entry);
      entries_[key] = std::move(entry);
      return;
    }
    Entry& entry = it->second;
    before = describe(entry);
    fill(entry);
    constrain(entry);
    after = describe(entry);
    changed = !sameValue(kind, before.intValue, after.intValue, before.doubleValue,
                         after.doubleValue, before.text, after.text, before.wide, after.wide);
  }
  if (changed)
    notify(key, after);
}

template <class Apply>
void HostDataStore::set(const char* key, int kind, Apply apply) {
  Change before, after;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = entries_.find(key);
    if (it == entries_.end()) {
      // An undeclared key is declared by its first value, without bounds.
      Entry entry;
      entry.kind = kind;
      apply(entry);
      entry.intDefault = entry.intValue;
      entry.doubleDefault = entry.doubleValue;
      entry.textDefault = entry.text;
      entry.wideDefault = entry.wide;
      it = entries_.emplace(key, std::move(entry)).first;
      before.kind = -1;  // anything is a change
    } else {
      if (it->second.kind != kind)
        return;
      before = describe(it->second);
      apply(it->second);
      constrain(it->second);
    }
    after = describe(it->second);
    if (before.kind == kind &&
        sameValue(kind, before.intValue, after.intValue, before.doubleValue, after.doubleValue,
                  before.text, after.text, before.wide, after.wide))
      return;
  }
  notify(key, after);
}

void HostDataStore::addInt(const char* key, int def, int min, int max, int flags) {
  declare(key, kDataStoreInt, [&](Entry& e) {
    e.intDefault = def;
    e.intMin = min;
    e.intMax = max;
    e.flags = flags;
  });
}

void HostDataStore::addDouble(const char* key, double def, double min, double max, int flags) {
  declare(key, kDataStoreDouble, [&](Entry& e) {
    e.doubleDefault = def;
    e.doubleMin = min;
    e.doubleMax = max;
    e.flags = flags;
  });
}

void HostDataStore::addCString(const char* key, int maxLength, const char* def, int flags) {
  declare(key, kDataStoreCString, [&](Entry& e) {
    e.textDefault = def ? def : "";
    e.maxLength = maxLength;
    e.flags = flags;
  });
}

void HostDataStore::addString(const char* key, int maxLength, const KivString& def, int flags) {
  std::u16string wide = wideOf(def);
  declare(key, kDataStoreString, [&](Entry& e) {
    e.wideDefault = wide;
    e.maxLength = maxLength;
    e.flags = flags;
  });
}

int HostDataStore::getInt(const char* key, bool* found) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = entries_.find(key);
  bool hit = it != entries_.end() && it->second.kind == kDataStoreInt;
  if (found)
    *found = hit;
  return hit ? it->second.intValue : 0;
}

double HostDataStore::getDouble(const char* key, bool* found) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = entries_.find(key);
  bool hit = it != entries_.end() && it->second.kind == kDataStoreDouble;
  if (found)
    *found = hit;
  return hit ? it->second.doubleValue : 0.0;
}

const char* HostDataStore::getCString(const char* key, bool* found) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = entries_.find(key);
  bool hit = it != entries_.end() && it->second.kind == kDataStoreCString;
  if (found)
    *found = hit;
  return hit ? it->second.text.c_str() : nullptr;
}

KivString HostDataStore::getString(const char* key, void* found) {
  std::u16string wide;
  std::string text;
  int kind = 0;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = entries_.find(key);
    if (it != entries_.end()) {
      kind = it->second.kind;
      wide = it->second.wide;
      text = it->second.text;
    }
  }
  bool hit = kind == kDataStoreString || kind == kDataStoreCString;
  if (found)
    *static_cast<bool*>(found) = hit;
  if (kind == kDataStoreString)
    return KivString(wide.c_str(), static_cast<int32_t>(wide.size()));
  if (kind == kDataStoreCString)
    return KivString(text.c_str(), static_cast<int32_t>(text.size()));
  return KivString();
}

void HostDataStore::getIntRange(const char* key, int* min, int* max, bool* found) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = entries_.find(key);
  bool hit = it != entries_.end() && it->second.kind == kDataStoreInt;
  if (found)
    *found = hit;
  if (!hit)
    return;
  if (min)
    *min = it->second.intMin;
  if (max)
    *max = it->second.intMax;
}

void HostDataStore::getDoubleRange(const char* key, double* min, double* max, bool* found) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = entries_.find(key);
  bool hit = it != entries_.end() && it->second.kind == kDataStoreDouble;
  if (found)
    *found = hit;
  if (!hit)
    return;
  if (min)
    *min = it->second.doubleMin;
  if (max)
    *max = it->second.doubleMax;
}

int HostDataStore::getMaxLength(const char* key) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = entries_.find(key);
  if (it == entries_.end())
    return 0;
  return std::max(it->second.maxLength, 0);
}

int HostDataStore::flags(const char* key) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = entries_.find(key);
  return it == entries_.end() ? 0 : it->second.flags;
}

void HostDataStore::getKind(const char* key, int* kind) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = entries_.find(key);
  if (it != entries_.end() && kind)
    *kind = it->second.kind;
}

bool HostDataStore::hasKey(const char* key) {
  std::lock_guard<std::mutex> lock(mutex_);
  return entries_.count(key) != 0;
}

void HostDataStore::setString(int /*scope*/, const char* key, const KivString& value) {
  std::u16string wide = wideOf(value);
  set(key, kDataStoreString, [&](Entry& e) { e.wide = wide; });
}

void HostDataStore::setCString(int /*scope*/, const char* key, const char* value) {
  std::string text = value ? value : "";
  set(key, kDataStoreCString, [&](Entry& e) { e.text = text; });
}

void HostDataStore::setDouble(int /*scope*/, const char* key, double value) {
  set(key, kDataStoreDouble, [&](Entry& e) { e.doubleValue = value; });
}

void HostDataStore::setInt(int /*scope*/, const char* key, int value) {
  set(key, kDataStoreInt, [&](Entry& e) { e.intValue = value; });
}

void HostDataStore::addListener(const char* key, IKivUnknown* listener) {
  if (!listener)
    return;
  std::lock_guard<std::mutex> lock(mutex_);
  ListenerList& list = listeners_[key];
  for (Listener& entry : list.entries) {
    if (entry.object == listener) {
      // A slot marked during a delivery is taken back rather than added
      // again: under steady deliveries the list could otherwise grow without
      // bound. The running delivery may then still reach it.
      entry.removed = false;
      return;
    }
  }
  list.entries.push_back(Listener{listener, false});
}

void HostDataStore::removeListener(const char* key, IKivUnknown* listener) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = listeners_.find(key);
  if (it == listeners_.end())
    return;
  ListenerList& list = it->second;
  for (size_t i = 0; i < list.entries.size(); ++i) {
    if (list.entries[i].object != listener || list.entries[i].removed)
      continue;
    // During a delivery the slot is only marked, so that the indices of the
    // running delivery stay valid; the outermost delivery compacts.
    if (list.delivering > 0)
      list.entries[i].removed = true;
    else
      list.entries.erase(list.entries.begin() + static_cast<std::ptrdiff_t>(i));
    break;
  }
  if (list.delivering == 0 && list.entries.empty())
    listeners_.erase(it);
}

void HostDataStore::notify(const std::string& key, const Change& change) {
  ListenerList* list = nullptr;
  size_t count = 0;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = listeners_.find(key);
    if (it == listeners_.end() || it->second.entries.empty())
      return;
    list = &it->second;
    ++list->delivering;
    count = list->entries.size();
  }
  // Ends the delivery even when a listener throws.
  struct DeliveryEnd {
    HostDataStore* store;
    const std::string& key;
    ListenerList* list;
    ~DeliveryEnd() {
      std::lock_guard<std::mutex> lock(store->mutex_);
      if (--list->delivering > 0)
        return;
      std::erase_if(list->entries, [](const Listener& entry) { return entry.removed; });
      if (list->entries.empty())
        store->listeners_.erase(key);
    }
  } end{this, key, list};

  for (size_t i = 0; i < count; ++i) {
    IKivUnknown* object = nullptr;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (list->entries[i].removed)
        continue;
      object = list->entries[i].object;
    }
    auto* receiver = kivQuery<IKivDataReceiver>(object, "IKivDataReceiver");
    if (!receiver)
      continue;
    switch (change.kind) {
    case kDataStoreInt:
      receiver->receiveInt(key.c_str(), change.intValue);
      break;
    case kDataStoreDouble:
      receiver->receiveDouble(key.c_str(), change.doubleValue);
      break;
    case kDataStoreCString:
      receiver->receiveCString(key.c_str(), change.text.c_str());
      break;
    case kDataStoreString:
      receiver->receiveString(
          key.c_str(), KivString(change.wide.c_str(), static_cast<int32_t>(change.wide.size())));
      break;
    }
  }
}

std::vector<std::string> HostDataStore::loadProblems() {
  std::lock_guard<std::mutex> lock(mutex_);
  return loadProblems_;
}

bool HostDataStore::save(const char* path) {
  std::string out = "# settings: one \"key = kind:value\" line per key\n";
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& [key, entry] : entries_) {
      std::string value;
      switch (entry.kind) {
      case kDataStoreInt:
        value = std::to_string(entry.intValue);
        break;
      case kDataStoreDouble: {
        char buffer[64];
        auto result = std::to_chars(buffer, buffer + sizeof buffer, entry.doubleValue);
        value.assign(buffer, result.ptr);
        break;
      }
      case kDataStoreCString:
        value = escape(entry.text, false);
        break;
      case kDataStoreString:
        value = escape(utf8FromUnits(entry.wide), false);
        break;
      }
      out += escape(key, true) + " = " + kindName(entry.kind) + ":" + value + "\n";
    }
  }
  // Written beside the target and renamed, so that a failed write never
  // destroys the settings already on disk.
  std::string temporary = std::string(path) + ".tmp";
  {
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    if (!file)
      return false;
    file.write(out.data(), static_cast<std::streamsize>(out.size()));
    file.close();
    if (!file) {
      std::remove(temporary.c_str());
      return false;
    }
  }
  if (std::rename(temporary.c_str(), path) != 0) {
    std::remove(temporary.c_str());
    return false;
  }
  return true;
}

std::string HostDataStore::loadLine(const std::string& line) {
  size_t equals = std::string::npos;
  for (size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\\') {
      ++i;
      continue;
    }
    if (line[i] == '=') {
      equals = i;
      break;
    }
  }
  if (equals == std::string::npos)
    return "no '='";
  std::string rawKey = line.substr(0, equals);
  while (!rawKey.empty() && (rawKey.back() == ' ' || rawKey.back() == '\t'))
    rawKey.pop_back();
  std::string key;
  if (!unescape(rawKey, &key) || key.empty())
    return "bad key";
  if (key.find('\0') != std::string::npos)
    return "key holds a NUL byte";
  size_t start = line.find_first_not_of(" \t", equals + 1);
  size_t colon = start == std::string::npos ? start : line.find(':', start);
  if (colon == std::string::npos)
    return "no kind";
  int kind = kindOfName(line.substr(start, colon - start));
  if (kind == 0)
    return "unknown kind '" + line.substr(start, colon - start) + "'";
  std::string raw = line.substr(colon + 1);

  int existing = kDataStoreUnknown;
  getKind(key.c_str(), &existing);
  if (existing != kDataStoreUnknown && existing != kind)
    return std::string("'") + key + "' is a " + kindName(existing) + " key";

  const char* first = raw.data();
  const char* last = raw.data() + raw.size();
  switch (kind) {
  case kDataStoreInt: {
    int value = 0;
    auto result = std::from_chars(first, last, value);
    if (result.ec != std::errc() || result.ptr != last)
      return "bad int '" + raw + "'";
    setInt(0, key.c_str(), value);
    break;
  }
  case kDataStoreDouble: {
    double value = 0;
    auto result = std::from_chars(first, last, value);
    if (result.ec != std::errc() || result.ptr != last)
      return "bad double '" + raw + "'";
    setDouble(0, key.c_str(), value);
    break;
  }
  case kDataStoreCString: {
    std::string text;
    if (!unescape(raw, &text) || text.find('\0') != std::string::npos)
      return "bad text";
    setCString(0, key.c_str(), text.c_str());
    break;
  }
  case kDataStoreString: {
    std::string text;
    std::u16string wide;
    if (!unescape(raw, &text) || !unitsFromUtf8(text, &wide))
      return "bad text";
    setString(0, key.c_str(), KivString(wide.c_str(), static_cast<int32_t>(wide.size())));
    break;
  }
  }
  return std::string();
}

bool HostDataStore::load(const char* path) {
  std::vector<std::string> problems;
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    problems.push_back(std::string(path) + ": cannot be read");
  } else {
    std::string line;
    int number = 0;
    while (std::getline(file, line)) {
      ++number;
      if (!line.empty() && line.back() == '\r')
        line.pop_back();
      size_t start = line.find_first_not_of(" \t");
      if (start == std::string::npos || line[start] == '#')
        continue;
      std::string problem = loadLine(line);
      if (!problem.empty()) {
        problems.push_back(std::string(path) + ":" + std::to_string(number) + ": " + problem);
        std::fprintf(stderr, "settings: %s\n", problems.back().c_str());
      }
    }
  }
  bool readable = static_cast<bool>(file) || file.eof();
  std::lock_guard<std::mutex> lock(mutex_);
  loadProblems_ = std::move(problems);
  return readable;
}
