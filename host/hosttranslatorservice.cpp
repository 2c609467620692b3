//===- hosttranslatorservice.cpp - The reference host's translations ------===//
#include "host/hosttranslatorservice.h"

#include "kivbasictypes/kivstring.h"

#include <fstream>
#include <utility>

HostTranslatorService::HostTranslatorService() = default;

HostTranslatorService::~HostTranslatorService() = default;

void HostTranslatorService::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostTranslatorService", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivTranslatorService", static_cast<IKivTranslatorService*>(this), out);
}

IKivTranslator* HostTranslatorService::translatorFor(const KivClassId& /*componentId*/) {
  return translator_.get();
}

bool HostTranslatorService::loadTable(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file)
    return false;
  std::unordered_map<std::string, std::string> table;
  int bad = 0;
  std::string line;
  while (std::getline(file, line)) {
    if (!line.empty() && line.back() == '\r')
      line.pop_back();
    if (line.empty() || line[0] == '#')
      continue;
    size_t tab = line.find('\t');
    if (tab == std::string::npos || tab == 0) {
      ++bad;
      continue;
    }
    table[line.substr(0, tab)] = line.substr(tab + 1);
  }
  badLines_ = bad;
  translator_ = new HostTranslator(std::move(table));
  return true;
}

HostTranslator::HostTranslator(std::unordered_map<std::string, std::string> table)
    : table_(std::move(table)) {}

HostTranslator::~HostTranslator() = default;

void HostTranslator::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostTranslator", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivTranslator", static_cast<IKivTranslator*>(this), out);
}

bool HostTranslator::lookup(const char* key, KivString* out) {
  auto it = table_.find(key ? key : "");
  if (it == table_.end())
    return false;
  KivString text = KivString::fromUtf8(it->second.c_str());
  if (out)
    *out = text;
  return true;
}

void HostTranslator::translate(KivString& out, const char* key) {
  if (!lookup(key, &out))
    out = KivString(key ? key : "");
}

void HostTranslator::formatWith(KivString& out, const char* key, const KivString* const* args,
                                int count) {
  KivString pattern;
  translate(pattern, key);
  KivString result;
  result.assign(u"", 0);
  const KivChar* p = pattern.wideText();
  for (int32_t i = 0, n = pattern.length(); i < n; ++i) {
    if (p[i] == u'%' && i + 1 < n && p[i + 1] >= u'1' && p[i + 1] <= u'6') {
      int index = p[i + 1] - u'1';
      if (index < count) {
        result.append(*args[index]);
        ++i;
        continue;
      }
    }
    result.append(p[i]);
  }
  out = result;
}

void HostTranslator::format(KivString& out, const char* key, int count, const KivString* args) {
  const KivString* pointers[6] = {};
  if (count > 6)
    count = 6;
  for (int i = 0; i < count; ++i)
    pointers[i] = &args[i];
  formatWith(out, key, pointers, count < 0 ? 0 : count);
}

void HostTranslator::format(KivString& out, const char* key, const KivString& a1,
                            const KivString& a2, const KivString& a3, const KivString& a4,
                            const KivString& a5, const KivString& a6) {
  const KivString* args[] = {&a1, &a2, &a3, &a4, &a5, &a6};
  formatWith(out, key, args, 6);
}

void HostTranslator::format(KivString& out, const char* key, const KivString& a1,
                            const KivString& a2, const KivString& a3, const KivString& a4,
                            const KivString& a5) {
  const KivString* args[] = {&a1, &a2, &a3, &a4, &a5};
  formatWith(out, key, args, 5);
}

void HostTranslator::format(KivString& out, const char* key, const KivString& a1,
                            const KivString& a2, const KivString& a3, const KivString& a4) {
  const KivString* args[] = {&a1, &a2, &a3, &a4};
  formatWith(out, key, args, 4);
}

void HostTranslator::format(KivString& out, const char* key, const KivString& a1,
                            const KivString& a2, const KivString& a3) {
  const KivString* args[] = {&a1, &a2, &a3};
  formatWith(out, key, args, 3);
}

void HostTranslator::format(KivString& out, const char* key, const KivString& a1,
                            const KivString& a2) {
  const KivString* args[] = {&a1, &a2};
  formatWith(out, key, args, 2);
}

void HostTranslator::format(KivString& out, const char* key, const KivString& a1) {
  const KivString* args[] = {&a1};
  formatWith(out, key, args, 1);
}
