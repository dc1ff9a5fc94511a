// Files of other programs, through the code that imports and exports them. The first byte says which format.
#include <stdexcept>
#include <vector>

#include "fuzz/Target.h"
#include "host/sets/formats/Formats.h"

namespace {

std::vector<host::Figure> FiguresIn(const host::FigureFormat& format, std::string_view bytes) {
    host::Reading reading;
    std::vector<host::Warning> warnings;
    std::vector<host::Figure> figures;
    for (const host::ForeignFigure& description : format.read(bytes, reading)) {
        figures.push_back(host::Build(Modules(), description, warnings));
    }
    return figures;
}

}  // namespace

/// A file is refused with a reason, or its figures can be written in every format, as far as they hold numbers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const NothingLeft nothingLeft;
    Input input(data, size);
    const auto formats = host::FigureFormats();
    const host::FigureFormat& chosen = formats[input.Byte() % formats.size()];
    try {
        const std::vector<host::Figure> figures = FiguresIn(chosen, input.Rest());
        std::vector<host::Warning> warnings;
        for (const host::FigureFormat& format : formats) {
            if (format.write != nullptr) {
                REQUIRE(!format.write(figures, warnings).empty());
            }
        }
    } catch (const std::exception& refusal) {
        REQUIRE(refusal.what()[0] != '\0');
    }
    return 0;
}
