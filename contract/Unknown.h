// IUnknown, and the rules of ownership that hold for every interface of the framework.
//
// - Every interface pointer that an operation hands out carries one reference; the receiver releases it.
// - An interface pointer passed in is borrowed for the length of the call; who stores it adds a reference.
// - An object lives while its count is above zero and is destroyed by the Release that brings it to zero.
// - Operations come in a frozen order, with no virtual destructor: it would add slots. The protected
//   destructors below keep `delete` through an interface from compiling.
// - Nothing is thrown across an interface: every operation is noexcept, and failures are result codes.
#pragma once

#include "contract/InterfaceId.h"
#include "contract/Result.h"

/// The first three slots of every interface.
struct IUnknown {
    /// Asks the object for another of its interfaces. On S_OK `*out` holds it with one reference;
    /// otherwise E_NOINTERFACE with `*out` null. `out` must not be null.
    virtual Result QueryInterface(const IID& iid, void** out) noexcept = 0;
    /// Adds a reference; returns the new count.
    virtual std::int32_t AddRef() noexcept = 0;
    /// Drops a reference and destroys the object with the last one; returns the count that is left.
    virtual std::int32_t Release() noexcept = 0;

  protected:
    ~IUnknown() = default;
};
