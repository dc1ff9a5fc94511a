#include "check/Scenario.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <utility>

#include "check/EditRules.h"
#include "check/FigureLists.h"
#include "check/QueryRules.h"
#include "contract/Components.h"
#include "contract/Extensions.h"

namespace {

// The numbers of a call, in turn; the missing ones are 0.
class Numbers {
  public:
    explicit Numbers(std::span<const double> numbers) : m_left(numbers) {}

    bool Empty() const noexcept { return m_left.empty(); }
    double Next() noexcept {
        const double next = Empty() ? 0.0 : m_left.front();
        m_left = m_left.subspan(Empty() ? 0 : 1);
        return next;
    }
    int NextInteger() noexcept { return static_cast<int>(Next()); }
    std::span<const double> Rest() noexcept { return std::exchange(m_left, {}); }

  private:
    std::span<const double> m_left;
};

SmartPtr<ICIF> MakeImage(int width, int height) {
    auto image = CreateComponent<ICIFImageCANVAS>(Text(L"CIFImageCANVAS"));
    if (!image || Failed(image->Create(width, height, 1, 8, kFormatMono))) {
        throw CheckFailed{"a framework that makes images", "none"};
    }
    return image;
}

SmartPtr<IGeometry> MakeGeometry(std::span<const double> xy) {
    auto geometry = CreateComponent<IGeometry>(Text(L"Assembly"));
    const auto points = SmartPtr<IPointsStore>::QueryFrom(geometry.Get());
    if (!points || Failed(points->SetPoints(xy.data(), static_cast<int>(xy.size() / 2)))) {
        throw CheckFailed{"a framework that makes geometries", "none"};
    }
    return geometry;
}

// One call being put together. Whole numbers and addresses travel in one row of registers and doubles in
// another, each in its own order, so one function type serves every signature.
class Frame {
  public:
    Frame(const Operation& operation, std::span<const double> arguments, NullOutputs nullOutputs)
        : m_operation(operation), m_nullOutputs(nullOutputs) {
        m_words.fill(0);
        m_numbers.fill(0.0);
        m_doublesOut.fill(kUntouched);
        m_intsOut.fill(static_cast<int>(kUntouched));
        m_out = Untouched();
        Numbers given(arguments);
        for (const char* kind = operation.signature; *kind != '\0'; ++kind) {
            Put(*kind, given);
        }
    }

    Answer Run(IROI& figure) {
        using Function = Result (*)(void*, std::intptr_t, std::intptr_t, std::intptr_t, std::intptr_t, std::intptr_t,
                                    std::intptr_t, double, double);
        const auto table = *reinterpret_cast<Function**>(&figure);
        const auto& w = m_words;
        Answer answer;
        answer.code = table[m_operation.slot](&figure, w[0], w[1], w[2], w[3], w[4], w[5], m_numbers[0], m_numbers[1]);
        CheckLent();
        Collect(answer);
        return answer;
    }

  private:
    // An address that no object has.
    IUnknown* Untouched() noexcept { return reinterpret_cast<IUnknown*>(&m_out); }

    void Word(std::intptr_t word) noexcept { m_words[m_wordCount++] = word; }
    void Address(const void* address) noexcept { Word(reinterpret_cast<std::intptr_t>(address)); }

    void Put(char kind, Numbers& given) {
        const bool null = m_nullOutputs == NullOutputs::kWhereAllowed;
        switch (kind) {
            case 'i':
                return Word(given.NextInteger());
            case 'd':
                m_numbers[m_numberCount++] = given.Next();
                return;
            case 'D':
                return Address(&m_doublesOut[m_doubleOutCount++]);
            case 'N':
                return Address(null ? nullptr : &m_doublesOut[m_doubleOutCount++]);
            case 'I':
            case 'U':
                return Address(&m_intsOut[m_intOutCount++]);
            case 'J':
                return Address(null ? nullptr : &m_intsOut[m_intOutCount++]);
            case 'o':
                return Address(&m_out);
            case 't':
                return PutMap(given);
            case 'm':
                return PutImage(given);
            default:
                return PutGeometry(given);
        }
    }

    void PutMap(Numbers& given) {
        if (given.Empty()) {
            return Address(nullptr);
        }
        m_map.Take(given.Rest());
        Address(static_cast<ITransform*>(&m_map));
    }
    void PutImage(Numbers& given) {
        if (!given.Empty()) {
            const int width = given.NextInteger();
            m_image = MakeImage(width, given.NextInteger());
        }
        Address(m_image.Get());
    }
    void PutGeometry(Numbers& given) {
        if (!given.Empty()) {
            m_geometry = MakeGeometry(given.Rest());
        }
        Address(m_geometry.Get());
    }

    void CheckLent() const {
        if (m_map.references != 1) {
            throw CheckFailed{"a transform that is only borrowed", fmt::format("{} references", m_map.references)};
        }
    }

    void Collect(Answer& answer) {
        std::size_t doubles = 0;
        std::size_t ints = 0;
        const bool null = m_nullOutputs == NullOutputs::kWhereAllowed;
        for (const char* kind = m_operation.signature; *kind != '\0'; ++kind) {
            if (*kind == 'D' || (*kind == 'N' && !null)) {
                answer.outputs.push_back(m_doublesOut[doubles++]);
            } else if (*kind == 'I' || (*kind == 'J' && !null)) {
                answer.outputs.push_back(m_intsOut[ints++]);
            } else if (*kind == 'U') {
                const int value = m_intsOut[ints++];
                answer.outputs.push_back(value == static_cast<int>(kUntouched) ? kUntouched
                                                                               : static_cast<unsigned>(value));
            } else if (*kind == 'o') {
                const bool written = m_out != Untouched();
                answer.outputs.push_back(!written ? kUntouched : m_out != nullptr ? 1.0 : 0.0);
                answer.object = SmartPtr<IUnknown>::Adopt(written ? m_out : nullptr);
            }
        }
    }

    const Operation& m_operation;
    NullOutputs m_nullOutputs;
    std::array<std::intptr_t, 6> m_words;
    std::array<double, 2> m_numbers;
    std::array<double, 5> m_doublesOut;
    std::array<int, 4> m_intsOut;
    std::size_t m_wordCount = 0;
    std::size_t m_numberCount = 0;
    std::size_t m_doubleOutCount = 0;
    std::size_t m_intOutCount = 0;
    IUnknown* m_out;
    AffineMap m_map;
    SmartPtr<ICIF> m_image;
    SmartPtr<IGeometry> m_geometry;
};

// The values that a step on the parameter list sets.
std::vector<NamedValue> ValuesOfStep(std::string_view verb, const std::string& rest, const Step& step) {
    std::vector<NamedValue> values;
    for (std::size_t at = 0; at <= rest.size();) {
        const std::size_t end = std::min(rest.find(';', at), rest.size());
        const std::string part = rest.substr(at, end - at);
        at = end + 1;
        if (verb == "type") {
            const std::size_t sign = part.find('=');
            values.push_back({part.substr(0, sign), part.substr(sign + 1)});
        } else if (verb == "press") {
            values.push_back({part, static_cast<int>(step.arguments.at(values.size()))});
        } else {
            values.push_back({part, step.arguments.at(values.size())});
        }
    }
    return values;
}

double NumberOf(const NamedValue& value) {
    const auto* number = std::get_if<double>(&value.value);
    const auto* whole = std::get_if<int>(&value.value);
    return number != nullptr ? *number : whole != nullptr ? *whole : kUntouched;
}

double ReadParameter(const SmartPtr<IROI>& roi, const std::string& name) {
    for (const NamedValue& value : ParametersOf(roi)) {
        if (value.name == name) {
            return NumberOf(value);
        }
    }
    throw CheckFailed{"a parameter " + name, "none"};
}

bool IsQuery(const Operation& operation) noexcept {
    const std::string_view signature = operation.signature;
    return signature.find_first_not_of("iDINJU") == std::string_view::npos &&
           signature.find_first_of("DINJU") != std::string_view::npos;
}

}  // namespace

std::string NumbersText(std::span<const double> numbers) {
    std::string text;
    for (const double number : numbers) {
        text += text.empty() ? "" : ", ";
        text += number == kUntouched ? "untouched" : fmt::format("{}", number);
    }
    return text;
}

std::string CallText(const char* operation, std::span<const double> arguments) {
    return fmt::format("{}({})", operation, NumbersText(arguments));
}

std::string Answer::Text() const {
    return outputs.empty() ? CodeText(code) : fmt::format("{} ({})", CodeText(code), NumbersText(outputs));
}

Answer Call(IROI& figure, const Operation& operation, std::span<const double> arguments, NullOutputs nullOutputs) {
    return Frame(operation, arguments, nullOutputs).Run(figure);
}

bool SameNumber(double a, double b) noexcept {
    if (std::isnan(a) || std::isnan(b)) {
        return std::isnan(a) == std::isnan(b);
    }
    return a == b || std::abs(a - b) <= 1e-9 * std::max({1.0, std::abs(a), std::abs(b)});
}

bool SameNumbers(std::span<const double> a, std::span<const double> b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), SameNumber);
}

Answer Take(const ClassContract& figure, const SmartPtr<IROI>& roi, const Step& step) {
    const std::string_view operation = step.operation;
    const std::size_t blank = operation.find(' ');
    if (blank == std::string_view::npos) {
        return Call(*roi, figure.At(operation), step.arguments);
    }
    const std::string_view verb = operation.substr(0, blank);
    const std::string rest(operation.substr(blank + 1));
    Answer answer;
    if (verb == "read") {
        answer.outputs = {ReadParameter(roi, rest)};
    } else {
        answer.code = SetParametersOf(roi, ValuesOfStep(verb, rest, step));
    }
    return answer;
}

bool AreAsWanted(std::span<const double> actual, std::span<const double> wanted) noexcept {
    return std::equal(actual.begin(), actual.end(), wanted.begin(), wanted.end(),
                      [](double a, double b) { return b == kAnything || SameNumber(a, b); });
}

void TakeSteps(Checks& checks, const ClassContract& figure, const SmartPtr<IROI>& roi, std::span<const Step> steps) {
    for (const Step& step : steps) {
        const Answer answer = Take(figure, roi, step);
        const Answer wanted = {step.code, step.outputs, nullptr};
        const std::string call = CallText(step.operation, step.arguments);
        checks.Expect(answer.code == wanted.code && AreAsWanted(answer.outputs, wanted.outputs),
                      fmt::format("{} of {} to give {}", call, figure.name, wanted.Text()), answer.Text());
    }
}

std::vector<Step> After(std::vector<Step> setup, const std::vector<Step>& then) {
    setup.insert(setup.end(), then.begin(), then.end());
    return setup;
}

namespace {

// As a host would that asks the figure everything after each step: what is kept of earlier answers must not outlive
// them.
void PlayWatched(Checks& checks, const ClassContract& figure, std::span<const Step> steps) {
    const auto roi = checks.module.New<IROI>(figure);
    for (const Step& step : steps) {
        const auto foreseen = Foresee(figure, *roi, step.operation, step.arguments);
        TakeSteps(checks, figure, roi, std::span(&step, 1));
        CheckForeseen(checks, figure, *roi, foreseen);
        CheckRules(checks, figure, roi);
    }
}

}  // namespace

void Play(Checks& checks, std::span<const Scenario> scenarios) {
    for (const Scenario& scenario : scenarios) {
        checks.Begin(scenario.sentence);
        checks.Try([&] {
            const ClassContract& figure = ClassNamed(scenario.className);
            const int failures = checks.Failures();
            const auto roi = checks.module.New<IROI>(figure);
            TakeSteps(checks, figure, roi, scenario.steps);
            CheckRules(checks, figure, roi);
            CheckCopying(checks, figure, *roi);
            if (checks.Failures() == failures) {
                PlayWatched(checks, figure, scenario.steps);
            }
        });
    }
}

SmartPtr<IROI> NewTypical(Checks& checks, const ClassContract& figure) {
    SmartPtr<IROI> roi = checks.module.New<IROI>(figure);
    for (const Step& step : figure.typical) {
        if (const Answer answer = Take(figure, roi, step); Failed(answer.code)) {
            throw CheckFailed{CallText(step.operation, step.arguments) + " to succeed", CodeText(answer.code)};
        }
    }
    return roi;
}

Observations Observe(const SmartPtr<IROI>& roi, const ClassContract& figure) {
    Observations seen;
    const auto ask = [&](const Operation& operation, std::initializer_list<double> arguments) {
        seen.push_back({CallText(operation.name, arguments), Call(*roi, operation, arguments)});
    };
    for (const Operation& operation : figure.operations) {
        if (!IsQuery(operation)) {
            continue;
        }
        const std::string_view signature = operation.signature;
        const auto indices = std::count(signature.begin(), signature.end(), 'i');
        for (int i = 0; i < (indices > 0 ? 12 : 1); ++i) {
            for (int j = 0; j < (indices > 1 ? 5 : 1); ++j) {
                const double numbers[] = {static_cast<double>(i), static_cast<double>(j)};
                const std::span<const double> given(numbers, static_cast<std::size_t>(indices));
                seen.push_back({CallText(operation.name, given), Call(*roi, operation, given)});
            }
        }
    }
    for (const double x : {-20.0, 12.0, 40.0, 75.0}) {
        ask(figure.At("HitTest"), {x, 0.5 * x});
    }
    if (figure.Answers("IParametricObject")) {
        for (const NamedValue& value : ParametersOf(roi)) {
            seen.push_back({"read " + value.name, {S_OK, {NumberOf(value)}, nullptr}});
        }
    }
    return seen;
}

void ExpectSame(Checks& checks, const ClassContract& figure, const Observations& actual, const Observations& expected) {
    const auto same = [](const Observation& a, const Observation& b) {
        return a.question == b.question && a.answer.code == b.answer.code &&
               SameNumbers(a.answer.outputs, b.answer.outputs);
    };
    const auto [a, b] = std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end(), same);
    const auto text = [&](const Observation& seen) {
        return fmt::format("{} of {} to give {}", seen.question, figure.name, seen.answer.Text());
    };
    checks.Expect(a == actual.end() && b == expected.end(), b == expected.end() ? "no more" : text(*b),
                  a == actual.end() ? "nothing" : a->answer.Text());
}
