// Everything that reaches a sibling module: loading one, the global component collection, the
// descriptors that make strings, variants, collections and parameter lists, and components by name.
// Single-threaded by contract: the caches behind these functions are not locked.
#pragma once

#include "contract/Framework.h"
#include "contract/Object.h"
#include "contract/SmartPtr.h"

/// The host's collection of components: set by UseComponents, or fetched from the sibling module
/// "CollectionsEx" on first use. Null until then; the module owns one reference until it is unloaded.
extern SmartPtr<IComponentCollection> gGlobalComponentCollection;

/// Makes everything below use this collection, of which a reference is kept, in place of the one it had; null lets that
/// one go. A module does it when its InitializeModule is called. A host that links this library has a copy of its own,
/// apart from the module's: to have its CreateComponent ask the collection that it hands to the module, it calls this
/// before anything else here.
void UseComponents(IComponentCollection* collection) noexcept;

/// Asks the sibling module in the file "./" + module + ".so", relative to the current directory, for
/// the creation function of a class. Null when the file does not load (which it says on standard
/// output), has no "CreateFunction", or does not know the class. The module stays loaded for good.
ComponentCreator MODULECreateFunction(tagREFString module, tagREFString className) noexcept;

/// The global component collection, or null. A failed attempt to fetch it is repeated on the next call.
SmartPtr<IComponentCollection> GLOBALComponents() noexcept;

/// A new string component that holds `text`, or null.
SmartPtr<IString> CreateStringOf(tagREFString text) noexcept;

struct BASEObject {
    /// A new, empty parameter list, or null. The component "ParametersCreatable" is looked up in the
    /// global collection; a failed look-up is repeated on the next call.
    static SmartPtr<INamedCollection> CreateParameters() noexcept;
};

/// A new component of the named class through the global collection, as `Interface`; null when the
/// collection, the name's string or the component cannot be had.
template <class Interface>
SmartPtr<Interface> CreateComponent(tagREFString className) noexcept;

/// The part of CreateComponent that does not depend on the interface: one reference, or null.
void* CreateComponentAs(tagREFString className, const IID& iid) noexcept;

template <class Interface>
SmartPtr<Interface> CreateComponent(tagREFString className) noexcept {
    return SmartPtr<Interface>::Adopt(static_cast<Interface*>(CreateComponentAs(className, IidOf<Interface>())));
}
