// IListing for components, which answer IObjectInfo too.
#pragma once

#include "contract/Extensions.h"

/// Gives IListing::GetName a name of its own: IObjectInfo has an operation of the same name and
/// arguments, and a class with both bases would override the two with one function.
class IListingImpl : public IListing {
  public:
    Result GetName(int index, tagREFString* name) noexcept final { return GetEntryName(index, name); }

  protected:
    ~IListingImpl() = default;

  private:
    virtual Result GetEntryName(int index, tagREFString* name) noexcept = 0;
};
