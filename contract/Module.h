// The two entry points that a module of the framework exports, and its table of classes.
#pragma once

#include "contract/Object.h"

#define MODULE_EXPORT __attribute__((visibility("default")))

/// Hands the module the host's component collection. The module adds a reference to it and releases
/// the one it had; null only releases. `reserved` is ignored. Always S_OK.
MODULE_EXPORT Result InitializeModule(void* reserved, IComponentCollection* collection) noexcept;

/// Writes the creation function of a registered class to `*out`, which must not be null. Names are
/// compared character by character, by length, case included. E_FAIL, with `*out` untouched, for a
/// name that is not registered. Needs no InitializeModule before it.
extern "C" MODULE_EXPORT Result CreateFunction(tagREFString className, ComponentCreator* out) noexcept;

/// The types and names under which a host finds them with the dynamic loader.
using InitializeModuleEntry = Result (*)(void* reserved, IComponentCollection* collection);
using CreateFunctionEntry = Result (*)(tagREFString className, ComponentCreator* out);
inline constexpr const char* kInitializeModuleSymbol = "_Z16InitializeModulePvP20IComponentCollection";
inline constexpr const char* kCreateFunctionSymbol = "CreateFunction";

/// One class of a module: its registered name and how it is made.
struct RegisteredClass {
    const tagREFString* name;
    ComponentCreator create;
};

template <class T>
inline constexpr RegisteredClass kRegistered = {&T::m_ObjectName, &T::_CreateInstance};

/// CreateFunction over a module's table; the first match wins.
template <class Table>
Result FindRegisteredClass(const Table& classes, tagREFString name, ComponentCreator* out) noexcept {
    for (const RegisteredClass& entry : classes) {
        if (*entry.name == name) {
            *out = entry.create;
            return S_OK;
        }
    }
    return E_FAIL;
}
