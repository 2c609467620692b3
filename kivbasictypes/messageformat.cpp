//===- messageformat.cpp - Messages with placeholders --------------------===//
#include "kivbasictypes/messageformat.h"

#include "core/classwalk.h"
#include "core/componentinfo.h"
#include "core/kivptr.h"
#include "kivbasictypes/stringbuffer.h"

#include <cstring>
#include <utility>
#include <vector>

namespace {

struct TranslatorState {
  IPtr<IKivTranslator> held;
  bool setUpDone = false;
  // Set once the host's translator service gave us a translator of its own.
  bool locked = false;
};

TranslatorState& translatorState() {
  static TranslatorState state;
  return state;
}

// Asks the host's translator service for this component's translator. Without
// the service nothing changes and the set-up counts as not done.
void setUpTranslator() {
  TranslatorState& state = translatorState();
  SPtr<IKivTranslatorService> service("IKivTranslatorService");
  if (!service)
    return;
  if (IKivTranslator* translator = service->translatorFor(kComponentClassId)) {
    state.held = translator;
    state.locked = true;
  } else {
    state.held.clear();
    SPtr<IKivTranslator> fallback("IKivTranslator");
    state.held = fallback.get();
  }
  state.setUpDone = true;
}

// Runs the trivial translator's steps: the key itself, then the arguments.
void formatWith(KivTrivialTranslator& translator, KivString& out, const char* key,
                const KivString* const* args) {
  translator.lookup(key, &out);
  substitute(out, args);
}

} // namespace

//===- KivTrivialTranslator -----------------------------------------------===//

void KivTrivialTranslator::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "KivTrivialTranslator");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivTranslator");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "KivTrivialTranslator", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivTranslator", static_cast<IKivTranslator*>(this), out);
}

void KivTrivialTranslator::format(KivString& out, const char* key, int count,
                                  const KivString* args) {
  if (count < 0)
    count = 0;
  std::vector<const KivString*> list;
  list.reserve(static_cast<size_t>(count) + 1);
  for (int i = 0; i < count; ++i)
    list.push_back(&args[i]);
  list.push_back(nullptr);
  formatWith(*this, out, key, list.data());
}

void KivTrivialTranslator::format(KivString& out, const char* key, const KivString& a1,
                                  const KivString& a2, const KivString& a3, const KivString& a4,
                                  const KivString& a5, const KivString& a6) {
  const KivString* args[] = {&a1, &a2, &a3, &a4, &a5, &a6, nullptr};
  formatWith(*this, out, key, args);
}

void KivTrivialTranslator::format(KivString& out, const char* key, const KivString& a1,
                                  const KivString& a2, const KivString& a3, const KivString& a4,
                                  const KivString& a5) {
  const KivString* args[] = {&a1, &a2, &a3, &a4, &a5, nullptr};
  formatWith(*this, out, key, args);
}

void KivTrivialTranslator::format(KivString& out, const char* key, const KivString& a1,
                                  const KivString& a2, const KivString& a3, const KivString& a4) {
  const KivString* args[] = {&a1, &a2, &a3, &a4, nullptr};
  formatWith(*this, out, key, args);
}

void KivTrivialTranslator::format(KivString& out, const char* key, const KivString& a1,
                                  const KivString& a2, const KivString& a3) {
  const KivString* args[] = {&a1, &a2, &a3, nullptr};
  formatWith(*this, out, key, args);
}

void KivTrivialTranslator::format(KivString& out, const char* key, const KivString& a1,
                                  const KivString& a2) {
  const KivString* args[] = {&a1, &a2, nullptr};
  formatWith(*this, out, key, args);
}

void KivTrivialTranslator::format(KivString& out, const char* key, const KivString& a1) {
  const KivString* args[] = {&a1, nullptr};
  formatWith(*this, out, key, args);
}

void KivTrivialTranslator::translate(KivString& out, const char* key) {
  KivString fresh;
  lookup(key, &fresh);
  out = std::move(fresh);
}

bool KivTrivialTranslator::lookup(const char* key, KivString* out) {
  *out = KivString(key);
  return true;
}

//===- substitute ---------------------------------------------------------===//

// An index with no argument behind it (past the end of the list) is treated
// like a null argument: the placeholder disappears.
void substitute(KivString& text, const KivString* const* args) {
  if (text.wideCapacity() <= 0 || !args || !args[0])
    return;
  int32_t argCount = 0;
  while (args[argCount])
    ++argCount;
  const KivChar* source = text.wide();
  const int32_t limit = text.wideCapacity() / 2;
  auto argumentAt = [&](KivChar digit) -> const KivString* {
    int32_t index = digit - u'1';
    return index < argCount ? args[index] : nullptr;
  };
  auto isPlaceholder = [](KivChar c) { return c >= u'1' && c <= u':'; };

  // First pass: the length of the result.
  int32_t length = 0;
  int32_t newLength = 0;
  int32_t placeholders = 0;
  for (int32_t i = 0; i < limit && source[i];) {
    if (source[i] == u'%' && i + 1 < limit && source[i + 1]) {
      if (isPlaceholder(source[i + 1])) {
        const KivString* arg = argumentAt(source[i + 1]);
        newLength += arg ? arg->length() : 0;
        ++placeholders;
      } else {
        newLength += 2;
      }
      i += 2;
    } else {
      ++newLength;
      ++i;
    }
    length = i;
  }
  if (placeholders == 0)
    return;

  // Second pass: the text between the placeholders and the arguments.
  int32_t capacity = 0;
  KivChar* buffer = static_cast<KivChar*>(allocBuffer(2 * newLength + 2, &capacity));
  KivChar* out = buffer;
  for (int32_t i = 0; i < length;) {
    if (source[i] == u'%' && i + 1 < length && isPlaceholder(source[i + 1])) {
      if (const KivString* arg = argumentAt(source[i + 1])) {
        int32_t n = arg->length();
        if (n > 0)
          std::memcpy(out, arg->wide(), 2 * static_cast<size_t>(n));
        out += n;
      }
      i += 2;
    } else if (source[i] == u'%' && i + 1 < length) {
      *out++ = source[i++];
      *out++ = source[i++];
    } else {
      *out++ = source[i++];
    }
  }
  *out = 0;
  text.adoptWide(buffer, capacity);
}

//===- The current translator ---------------------------------------------===//

IKivTranslator* currentTranslator() {
  TranslatorState& state = translatorState();
  if (!state.held) {
    setUpTranslator();
    if (!state.held)
      state.held = new KivTrivialTranslator();
  } else if (!state.setUpDone) {
    setUpTranslator();
  }
  return state.held.get();
}

void setTranslator(IKivTranslator* translator) {
  TranslatorState& state = translatorState();
  if (state.locked || translator == state.held.get())
    return;
  state.held = translator;
}

void resetTranslator() {
  TranslatorState& state = translatorState();
  state.held.clear();
  state.setUpDone = false;
  state.locked = false;
}

//===- Formatting through the current translator --------------------------===//

void formatMessage(KivString& out, const char* key, const KivString& a1) {
  currentTranslator()->format(out, key, a1);
}

void formatMessage(KivString& out, const char* key, const KivString& a1, const KivString& a2) {
  currentTranslator()->format(out, key, a1, a2);
}

void formatMessage(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                   const KivString& a3) {
  currentTranslator()->format(out, key, a1, a2, a3);
}

void formatMessage(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                   const KivString& a3, const KivString& a4) {
  currentTranslator()->format(out, key, a1, a2, a3, a4);
}

void formatMessage(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                   const KivString& a3, const KivString& a4, const KivString& a5) {
  currentTranslator()->format(out, key, a1, a2, a3, a4, a5);
}

void formatMessage(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                   const KivString& a3, const KivString& a4, const KivString& a5,
                   const KivString& a6) {
  currentTranslator()->format(out, key, a1, a2, a3, a4, a5, a6);
}

void translateMessage(KivString& out, const char* key) { currentTranslator()->translate(out, key); }
