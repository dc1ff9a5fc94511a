#include "contract/InterfaceId.h"

// Bytes 00 00 00 00 00 00 00 00 C0 00 00 00 00 00 00 46, as little-endian words.
IID IID_IUnknown = {{0, 0, 0x000000C0, 0x46000000}};

#define FRAMEWORK_DEFINE_IID(name) IID IID_##name;
FRAMEWORK_INTERFACES(FRAMEWORK_DEFINE_IID)
#undef FRAMEWORK_DEFINE_IID

namespace {

// Fills every identifier from its name when the module is loaded, before any exported function runs.
[[maybe_unused]] const bool kIdentifiersFilled = [] {
#define FRAMEWORK_FILL_IID(name) IID_##name = __IIDOfc(#name);
    FRAMEWORK_INTERFACES(FRAMEWORK_FILL_IID)
#undef FRAMEWORK_FILL_IID
    return true;
}();

}  // namespace
