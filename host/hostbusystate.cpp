//===- hostbusystate.cpp - The host's busy state and busy blocks ----------===//
#include "host/hostbusystate.h"

#include "core/ikivlog3.h"
#include "kivbasictypes/kivstring.h"

void HostBusyState::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (!kivAnswer(name, "IGuiBusyState", static_cast<IGuiBusyState*>(this), out))
    kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}

IGuiBusyBlock* HostBusyState::newBlock() { return new HostBusyBlock(this); }

void HostBusyState::blockBegan(const std::string& text) {
  int open = ++open_;
  ++total_;
  if (log_)
    log_->logInfo(KivString(("busy block begins (" + std::to_string(open) + " open)" +
                             (text.empty() ? "" : ": " + text))
                                .c_str()));
}

void HostBusyState::blockEnded(const std::string& text) {
  int open = --open_;
  if (log_)
    log_->logInfo(KivString(("busy block ends (" + std::to_string(open) + " open)" +
                             (text.empty() ? "" : ": " + text))
                                .c_str()));
}

HostBusyBlock::~HostBusyBlock() {
  if (open_)
    state_->blockEnded(text_);
}

void HostBusyBlock::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (!kivAnswer(name, "IGuiBusyBlock", static_cast<IGuiBusyBlock*>(this), out))
    kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}

void HostBusyBlock::begin(const KivString& text, int) {
  if (open_)
    return;
  const char* utf8 = text.utf8Text();
  text_ = utf8 ? utf8 : "";
  open_ = true;
  state_->blockBegan(text_);
}
