//===- utf8.h - UTF-8 at the host's edges ------------------------*- C++ -*-===//
//
// Proper UTF-8 for what the host writes to text files and terminals (the
// library's own utf8Text keeps its unit-by-unit form). Lone surrogates travel
// as three-byte forms, so any sequence of units survives a round trip.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <string>
#include <string_view>

std::string utf8FromUnits(std::u16string_view wide);
// False on any malformed sequence; nothing is guessed.
bool unitsFromUtf8(std::string_view text, std::u16string* out);
