// The module's version as an ELF note, for who has the file and does not want to load it. See docs/contract.md.
#include <cstdint>

namespace {

struct VersionNote {
    // The lengths do not count what fills the texts up to a multiple of four.
    std::uint32_t ownerLength = 4;
    std::uint32_t versionLength = sizeof ROI_VERSION;
    std::uint32_t type = 1;
    char owner[4] = "ROI";
    char version[(sizeof ROI_VERSION + 3) / 4 * 4] = ROI_VERSION;
};

[[gnu::used, gnu::section(".note.roi"), gnu::aligned(4)]] constexpr VersionNote kVersionNote;

}  // namespace
