//===- strsupport.h - The host's optional string helper ---------*- C++ -*-===//
//
// strSupport() looks the service IKivStrSupport up once and holds it, with one
// reference, for the rest of the process; a missing service stays missing and
// the strings use their plain rules. Calls before a component manager exists
// give null and do not count as the look-up. The first look-up is thread-safe.
// The pointer carries no reference for the caller.
//
//===----------------------------------------------------------------------===//
#pragma once

class IKivStrSupport;

// The service, or null when the host has none.
IKivStrSupport* strSupport();
// Drops the held service and forgets the look-up: for a host that installs the
// service late, and for tests. Not safe against concurrent strSupport() calls.
void resetStrSupport();
