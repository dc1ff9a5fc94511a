// Set files of the form .xml, through the code that loads and saves them.
#include "fuzz/SetRules.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const NothingLeft nothingLeft;
    LoadAndSave({reinterpret_cast<const char*>(data), size}, host::ReadXMLSet, host::WriteXMLSet);
    return 0;
}
