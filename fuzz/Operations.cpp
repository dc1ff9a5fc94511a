// The validator's sequences of operations, on figures of all classes, with the choices made by bytes.
#include "check/Sequences.h"
#include "fuzz/Target.h"

namespace {

// When the bytes run out, every choice is the first one.
class InputChoices final : public Choices {
  public:
    explicit InputChoices(Input& input) noexcept : m_input(input) {}

    int Below(int count) override {
        return (count <= 256 ? int{m_input.Byte()} : int{m_input.Raw<std::uint16_t>()}) % count;
    }
    bool AtEnd() const noexcept override { return m_input.AtEnd(); }

  private:
    Input& m_input;
};

TestedModule& Tested() {
    static TestedModule* const module = [] {
        Modules();  // goes where the modules lie
        auto* const loaded = new TestedModule("./ROI.so");
        loaded->GiveFramework();
        return loaded;
    }();
    return *module;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TestedModule& module = Tested();
    const NothingLeft nothingLeft;
    const CheckOptions options;
    CheckProgress progress;
    Checks checks("sequences", options, module, progress);
    Input input(data, size);
    InputChoices choices(input);
    while (!choices.AtEnd()) {
        const auto& classes = ClassContracts();
        const ClassContract& figure =
            classes[static_cast<std::size_t>(choices.Below(static_cast<int>(classes.size())))];
        checks.Try([&] { PlaySequence(checks, figure, choices, "these bytes"); });
        REQUIRE(progress.failed == 0);
    }
    return 0;
}
