//===- componentinfo.h - Identity of this component -------------*- C++ -*-===//
#pragma once

#include "core/kivclassid.h"

// {FE4E624C-0C88-4C53-8C1F-CB97D41C5F25}; stored nowhere but must never change.
inline constexpr KivClassId kComponentClassId =
    makeClassId(0xFE4E624C, 0x0C88, 0x4C53, 0x8C, 0x1F, 0xCB, 0x97, 0xD4, 0x1C, 0x5F, 0x25);
inline constexpr const char* kComponentName = "datamodelcmp";
inline constexpr const char* kComponentVersion = "5.3.21.373382";
inline constexpr uint32_t kComponentApiVersion = 100;
