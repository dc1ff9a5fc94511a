#include "check/Rules.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace {

bool IsModerate(double value) noexcept { return std::abs(value) < 2000.0 || value == kAnything; }

// Far from the last bits, in which implementations differ.
bool IsClose(double actual, double wanted) noexcept {
    return wanted == kAnything || std::abs(actual - wanted) <= 1e-8 * std::max(1.0, std::abs(wanted));
}

}  // namespace

bool AreModerate(const Numbers& values) noexcept { return std::all_of(values.begin(), values.end(), IsModerate); }

double Round(double value) noexcept { return std::trunc(value > 0.0 ? value + 0.5 : value - 0.5); }

Numbers Rules::Ask(const char* query, const Numbers& arguments) const { return AnswerTo(query, arguments).outputs; }

Answer Rules::AnswerTo(const char* query, const Numbers& arguments) const {
    return Take(m_figure, SmartPtr<IROI>::Share(&m_roi), {query, arguments});
}

void Rules::Expect(const char* query, const Numbers& arguments, const Numbers& wanted) {
    if (!AreModerate(wanted)) {
        return;
    }
    const Answer answer = AnswerTo(query, arguments);
    if (answer.code != S_OK ||
        !std::equal(answer.outputs.begin(), answer.outputs.end(), wanted.begin(), wanted.end(), IsClose)) {
        Tell(query, arguments, answer, fmt::format("S_OK ({})", NumbersText(wanted)));
    }
}

void Rules::ExpectHit(Place p, bool inside) {
    const Numbers place = {p.x, p.y};
    if (!AreModerate(place)) {
        return;
    }
    const Answer answer = Call(m_roi, m_figure.At("HitTest"), place);
    if (answer.code != (inside ? S_OK : E_FAIL)) {
        Tell("HitTest", place, answer, inside ? "a hit" : "none");
    }
}

void Rules::Tell(const char* query, const Numbers& arguments, const Answer& answer, const std::string& wanted) {
    if (m_expected.empty()) {
        m_expected =
            fmt::format("{} of {} to give {}, by its other answers", CallText(query, arguments), m_figure.name, wanted);
        m_got = answer.Text();
    }
}

std::vector<Numbers> PointsOf(const Rules& rules) {
    std::vector<Numbers> points;
    const double count = rules.Ask("GetNumberPoints")[0];
    for (int i = 0; i < count; ++i) {
        const Numbers told = rules.Ask("GetPoint", {1.0 * i});
        points.push_back({told[0], told[1], told[3], told[4]});
    }
    return points;
}
