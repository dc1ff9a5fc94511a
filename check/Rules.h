// What the rules of queries and of edits are written in.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "check/Scenario.h"

using Numbers = std::vector<double>;

struct Place {
    double x, y;
};

/// Where the nodes 1 to 9 of a box lie, in halves of width and height.
inline constexpr Place kSides[] = {{0, 0}, {-1, -1}, {1, -1}, {1, 1}, {-1, 1}, {0, -1}, {1, 0}, {0, 1}, {-1, 0}};

/// Rounding errors of numbers beyond a picture are not worth a rule.
bool AreModerate(const Numbers& values) noexcept;

/// Half away from zero.
double Round(double value) noexcept;

/// What one figure answers, and the first answer that does not follow from the others.
class Rules {
  public:
    Rules(const ClassContract& figure, IROI& roi) : m_figure(figure), m_roi(roi) {}

    bool Is(std::string_view className) const { return m_figure.name == className; }
    bool Answers(const char* interfaceName) const { return m_figure.Answers(interfaceName); }

    /// The outputs of a query, or of `read NAME` for a parameter.
    Numbers Ask(const char* query, const Numbers& arguments = {}) const;
    /// Wants these outputs of a query, unless they are beyond a picture.
    void Expect(const char* query, const Numbers& arguments, const Numbers& wanted);
    void ExpectHit(Place p, bool inside);

    /// Reports one check: whether all came as wanted.
    void Report(Checks& checks) const { checks.Expect(m_expected.empty(), m_expected, m_got); }

  private:
    Answer AnswerTo(const char* query, const Numbers& arguments) const;
    void Tell(const char* query, const Numbers& arguments, const Answer& answer, const std::string& wanted);

    const ClassContract& m_figure;
    IROI& m_roi;
    std::string m_expected;
    std::string m_got;
};

/// The points of a profile: x, y and both thicknesses of each.
std::vector<Numbers> PointsOf(const Rules& rules);
