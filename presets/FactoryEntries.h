// The factory presets as data: what each changes over the defaults. The bank is built from it.
#pragma once

#include "params/ParameterIndex.h"

#include <cstdint>
#include <initializer_list>
#include <span>

namespace Quorvant {

struct ValueChange {
    ParameterIndex parameter;
    double value;
};

struct FactoryEntry {
    const char* name;
    uint32_t category;
    uint32_t designer;
    std::initializer_list<ValueChange> changes;
};

// Entries 2 to 131 of the bank, in its order. Any thread.
std::span<const FactoryEntry> factoryEntries();

}  // namespace Quorvant
