// Sequences of calls with absurd arguments among others. Every call must return, keep the counts, stay in step with a
// few rules that hold for all figures, and change nothing when it is refused.
#include <fmt/format.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <random>

#include "check/EditRules.h"
#include "check/FigureLists.h"
#include "check/Groups.h"
#include "check/QueryRules.h"
#include "check/Sequences.h"
#include "check/Streams.h"

namespace {

constexpr int kCallsInSequence = 60;

// The engine's numbers are the same with every library; what libraries make of them is not.
class RandomChoices final : public Choices {
  public:
    explicit RandomChoices(unsigned seed) : m_engine(seed) {}

    int Below(int count) override { return static_cast<int>(m_engine() % static_cast<unsigned>(count)); }

  private:
    std::mt19937 m_engine;
};

// Absurd numbers stay in a figure and leave little to say of it: half of the sequences do without.
enum class Sense { kSane, kAbsurd };

// Within a picture, on the grid of its pixels' parts or off it, or, now and then, what nobody would pass.
double ChooseNumber(Choices& choices, Sense sense) {
    using Limits = std::numeric_limits<double>;
    static constexpr double kAbsurd[] = {
        Limits::quiet_NaN(),  Limits::infinity(), -Limits::infinity(), 0.0, -0.0, 1e308, -1e308,
        Limits::denorm_min(), 2147483648.0,       -2147483648.5,       1e18};
    const bool absurd = sense == Sense::kAbsurd && choices.OneIn(6);
    return absurd ? kAbsurd[choices.Below(std::size(kAbsurd))]
                  : choices.Below(16000) / 32.0 - 100.0 + (choices.OneIn(2) ? 0.0 : 1e-6);
}

// Mostly an index or a node with one of its flags.
double ChooseInteger(Choices& choices) {
    static constexpr int kAbsurd[] = {INT_MIN, INT_MAX, -2, -1, 255, 256, 65536, 0x40000000};
    if (choices.OneIn(8)) {
        return kAbsurd[choices.Below(std::size(kAbsurd))];
    }
    const int node = choices.Below(13);
    const int flags = choices.Below(4);
    return node | flags << (choices.OneIn(2) ? 8 : 10);
}

// Six numbers of a map that moves a figure out of a picture only now and then; or none.
std::vector<double> ChooseMap(Choices& choices, Sense sense) {
    std::vector<double> map;
    for (int i = choices.OneIn(8) ? 6 : 0; i < 6; ++i) {
        map.push_back(i < 4 && sense == Sense::kSane ? choices.Below(33) / 16.0 - 1.0 : ChooseNumber(choices, sense));
    }
    return map;
}

std::vector<double> ChooseArguments(const Operation& operation, Choices& choices, Sense sense) {
    std::vector<double> arguments;
    for (const char* kind = operation.signature; *kind != '\0'; ++kind) {
        switch (*kind) {
            case 'i':
                arguments.push_back(ChooseInteger(choices));
                break;
            case 'd':
                arguments.push_back(ChooseNumber(choices, sense));
                break;
            case 't':
                arguments = ChooseMap(choices, sense);
                break;
            case 'm':
                arguments.push_back(1 + choices.Below(40));
                arguments.push_back(1 + choices.Below(40));
                break;
            case 'g':
                for (int i = choices.Below(4); i > 0; --i) {
                    arguments.push_back(choices.Below(1000) / 8.0);
                    arguments.push_back(choices.Below(1000) / 8.0);
                }
                break;
            default:  // an output
                break;
        }
    }
    return arguments;
}

bool IsRefusal(Result code) noexcept { return code == E_INVALIDARG || code == E_NOTIMPL; }

bool IsKnownCode(Result code) noexcept {
    return code == S_OK || code == E_FAIL || code == E_NOINTERFACE || IsRefusal(code);
}

// A value that is set and what reads it back as it was given, whatever it is.
struct Pair {
    const char* setter;
    const char* getter;
};
constexpr Pair kPairs[] = {{"SetSize", "GetSize"},     {"put_Roll", "get_Roll"},   {"SetAspectRatio", "GetAspectRatio"},
                           {"SetRadius", "GetRadius"}, {"SetLimits", "GetLimits"}, {"SetThickness", "GetThickness"},
                           {"SetCenter", "GetCenter"}};

// Profile and shape do not store a centre.
bool Stores(const ClassContract& figure, const Pair& pair) {
    const std::string_view name = figure.name;
    return std::string_view(pair.setter) != "SetCenter" || (name != "ROIProfile" && name != "ROIShape");
}

// One figure under random calls.
class Sequence {
  public:
    Sequence(Checks& checks, const ClassContract& figure, Choices& choices, const std::string& again)
        : m_checks(checks), m_figure(figure), m_choices(choices), m_again(again) {}

    void Run() {
        Say("created");
        m_sense = m_choices.OneIn(2) ? Sense::kSane : Sense::kAbsurd;
        m_roi = NewTypical(m_checks, m_figure);
        for (int i = 0; i < kCallsInSequence && !m_choices.AtEnd(); ++i) {
            CallOne();
        }
        EditAndKeep();
        Say("Replicate");
        CheckCopying(m_checks, m_figure, *m_roi);
        CheckCount();
    }

  private:
    void Say(const std::string& call) {
        m_checks.Begin(fmt::format("{} stays in step at {}; again: {}", m_figure.name, call, m_again));
    }

    void CallOne() {
        const Operation& operation =
            m_figure
                .operations[static_cast<std::size_t>(m_choices.Below(static_cast<int>(m_figure.operations.size())))];
        const std::vector<double> arguments = ChooseArguments(operation, m_choices, m_sense);
        Say(CallText(operation.name, arguments));
        if (std::string_view(operation.name) == "GetMask" && IsHugeMask()) {
            return;
        }
        const Observations before = Observe(m_roi, m_figure);
        const auto foreseen = Foresee(m_figure, *m_roi, operation.name, arguments);
        const int count = CountPoints();
        const auto nulls = m_choices.OneIn(3) ? NullOutputs::kWhereAllowed : NullOutputs::kNo;
        const Answer answer = Call(*m_roi, operation, arguments, nulls);
        m_checks.Expect(IsKnownCode(answer.code), "a known result code", CodeText(answer.code));
        if (IsRefusal(answer.code)) {
            ExpectSame(m_checks, m_figure, Observe(m_roi, m_figure), before);
        }
        CheckHit(operation, answer);
        CheckStored(operation, arguments, answer);
        CheckPoints(operation, answer, count);
        CheckObject(operation, answer);
        CheckForeseen(m_checks, m_figure, *m_roi, foreseen);
        CheckRules(m_checks, m_figure, m_roi);
        CheckCount();
    }

    // Images between those that are made at once and those that are refused take seconds.
    bool IsHugeMask() {
        const Answer box = Call(*m_roi, m_figure.At("GetBoundingRect"), {});
        const double area = box.outputs[2] * box.outputs[3];
        return area > 1e6 && area < 4e9;
    }

    void CheckCount() {
        const int raised = m_roi->AddRef();
        m_checks.Expect(raised == 2 && m_roi->Release() == 1, "the counts 2 and 1", std::to_string(raised));
    }

    void CheckHit(const Operation& operation, const Answer& answer) {
        if (operation.name == std::string_view("HitTest") && !answer.outputs.empty() &&
            answer.outputs[0] != kUntouched) {
            m_checks.Equal(static_cast<long>(answer.outputs[0]), answer.code == S_OK ? 1 : 0);
        }
    }

    void CheckStored(const Operation& operation, const std::vector<double>& arguments, const Answer& answer) {
        const auto pair = std::find_if(std::begin(kPairs), std::end(kPairs), [&](const Pair& entry) {
            return operation.name == std::string_view(entry.setter);
        });
        if (pair == std::end(kPairs) || answer.code != S_OK || !Stores(m_figure, *pair)) {
            return;
        }
        const bool indexed = operation.signature[0] == 'i';
        const std::span<const double> index = std::span(arguments).first(indexed ? 1 : 0);
        const std::span<const double> values = std::span(arguments).subspan(indexed ? 1 : 0);
        const Answer stored = Call(*m_roi, m_figure.At(pair->getter), index);
        m_checks.Expect(SameNumbers(stored.outputs, values), NumbersText(values), stored.Text());
    }

    int CountPoints() {
        int count = 0;
        if (const auto profile = SmartPtr<IROIProfile>::QueryFrom(m_roi.Get())) {
            profile->GetNumberPoints(&count);
        }
        return count;
    }

    // Adding and removing count by one, and nothing else does.
    void CheckPoints(const Operation& operation, const Answer& answer, int before) {
        const std::string_view name = operation.name;
        const bool adds = name == "AddPoint" || name == "InsertPoint";
        const bool removes = name == "RemovePoint";
        const int change = answer.code != S_OK ? 0 : adds ? 1 : removes ? -1 : 0;
        if (CountPoints() != before + change) {
            m_checks.Equal(CountPoints(), before + change);
        }
    }

    void CheckObject(const Operation& operation, const Answer& answer) {
        const std::string_view name = operation.name;
        if (answer.object && name == "Replicate") {
            m_checks.Expect(static_cast<bool>(SmartPtr<IROI>::QueryFrom(answer.object.Get())), "a figure", "none");
        } else if (name == "Replicate" || name == "GetMask") {
            m_checks.Expect(answer.object || answer.outputs[0] != 1.0, "an object", "none");
        }
    }

    // The parameter list with random values, and both kinds of stream.
    void EditAndKeep() {
        if (!m_figure.Answers("IParametricObject")) {
            return;
        }
        std::vector<NamedValue> values = ParametersOf(m_roi);
        for (NamedValue& value : values) {
            value.value = ChooseNumber(m_choices, m_sense);
        }
        Say("SetParameters");
        m_checks.Code(SetParametersOf(m_roi, values), S_OK);
        CheckRules(m_checks, m_figure, m_roi);
        CheckListed(values);
        Say("Save and Load");
        CheckKept();
        const Storage storage;
        const auto persist = Require<IDataPersist>(m_roi);
        for (const auto& stream : {storage.Folder(), storage.Element(), storage.Parent()}) {
            const Result saved = persist->Save(stream.Get(), 0);
            const Result loaded = persist->Load(stream.Get(), 0);
            m_checks.Expect(IsKnownCode(saved) && IsKnownCode(loaded), "known result codes",
                            CodeText(saved) + " and " + CodeText(loaded));
            CheckRules(m_checks, m_figure, m_roi);
        }
    }

    // Whether a list is all that there is to the figure, and is taken as it is.
    bool IsItsList() const {
        const std::string_view name = m_figure.name;
        return m_sense == Sense::kSane && name != "ROIParallelogram" && name != "ROIProfile" && name != "ROIShape";
    }

    void CheckListed(const std::vector<NamedValue>& values) {
        const std::vector<NamedValue> listed = ParametersOf(m_roi);
        const auto same = [](const NamedValue& a, const NamedValue& b) {
            return SameNumber(std::get<double>(a.value), std::get<double>(b.value));
        };
        m_checks.Expect(!IsItsList() || std::equal(listed.begin(), listed.end(), values.begin(), values.end(), same),
                        ParametersText(values), ParametersText(listed));
    }

    // Another figure that loads what this one saves says the same.
    void CheckKept() {
        if (!IsItsList()) {
            return;
        }
        const Observations before = Observe(m_roi, m_figure);
        const Storage storage;
        const auto other = m_checks.module.New<IROI>(m_figure);
        m_checks.Code(Require<IDataPersist>(m_roi)->Save(storage.Folder().Get(), 0), S_OK);
        m_checks.Code(Require<IDataPersist>(other)->Load(storage.Folder().Get(), 0), S_OK);
        ExpectSame(m_checks, m_figure, Observe(other, m_figure), before);
    }

    Checks& m_checks;
    const ClassContract& m_figure;
    Choices& m_choices;
    const std::string& m_again;
    Sense m_sense = Sense::kSane;
    SmartPtr<IROI> m_roi;
};

}  // namespace

void PlaySequence(Checks& checks, const ClassContract& figure, Choices& choices, const std::string& again) {
    Sequence(checks, figure, choices, again).Run();
}

void CheckSequences(Checks& checks) {
    const CheckOptions& options = checks.options;
    fmt::print(stderr, "roi: check: sequences: seeds {} to {}\n", options.seed,
               options.seed + static_cast<unsigned>(options.repeat) - 1);
    ForEachClass(checks, [&](const ClassContract& figure) {
        for (int i = 0; i < options.repeat; ++i) {
            const unsigned seed = options.seed + static_cast<unsigned>(i);
            RandomChoices choices(seed);
            PlaySequence(checks, figure, choices, fmt::format("--seed {} --repeat 1", seed));
        }
    });
}
