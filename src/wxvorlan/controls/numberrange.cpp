#include "controls/numberrange.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace {

// Steps that a slider for fractions has about.
constexpr double k_FractionSteps = 1000;

// All of the text is a number.
bool ReadAll(corekit::String const& text, double& number) {
    corekit::String const trimmed = text.Trim();
    char const* const end = trimmed.data() + trimmed.size();
    auto const [at, error] = std::from_chars(trimmed.data(), end, number);
    return error == std::errc() && at == end && !trimmed.Empty();
}

double Finite(double value) { return std::isfinite(value) ? value : 0; }

// The nearest whole number that fits.
int64_t Whole(double value) {
    constexpr double k_End = 9223372036854774784.0; // the largest double below 2^63
    return static_cast<int64_t>(std::clamp(value, -k_End, k_End));
}

int64_t Added(int64_t a, int64_t b) {
    int64_t sum = 0;
    if (!__builtin_add_overflow(a, b, &sum))
        return sum;
    return b > 0 ? INT64_MAX : INT64_MIN;
}

} // namespace

NumberRange::NumberRange(int low_, int high_)
    : kind(NumberKind::Integer), low(std::min(low_, high_)), high(std::max(low_, high_)) {
    step = std::max(1.0, std::ceil((high - low) / k_MostSteps));
    steps = std::max(1, static_cast<int>(std::ceil((high - low) / step)));
}

NumberRange::NumberRange(double low_, double high_)
    : kind(NumberKind::Float), low(std::min(Finite(low_), Finite(high_))), high(std::max(Finite(low_), Finite(high_))) {
    // A round step, so that sliding gives round numbers.
    double const span = high - low;
    step = span > 0 && std::isfinite(span) ? std::pow(10, std::floor(std::log10(span / k_FractionSteps))) : 1;
    if (!(step > 0))
        step = 1;
    steps = static_cast<int>(std::clamp(std::ceil(span / step - 1e-9), 1.0, static_cast<double>(k_MostSteps)));
}

double NumberRange::Clamped(double value) const { return std::clamp(std::isnan(value) ? low : value, low, high); }

int NumberRange::PositionOf(double value) const {
    if (value >= high)
        return value > low ? steps : 0;
    return static_cast<int>(std::clamp(std::round((Clamped(value) - low) / step), 0.0, static_cast<double>(steps)));
}

double NumberRange::ValueAt(int position) const {
    if (position >= steps)
        return high;
    double const value = low + std::max(position, 0) * step;
    // The sum of a fraction many times over is a crooked number; the step's own grid is not.
    return Clamped(kind == NumberKind::Float ? std::round(value / step) * step : value);
}

corekit::String NumberRange::TextOf(double value) const {
    if (kind == NumberKind::Integer)
        return corekit::String::From(static_cast<int64_t>(std::llround(value)));
    char text[32];
    auto const [end, error] = std::to_chars(text, text + sizeof(text), value, std::chars_format::general, 12);
    return error == std::errc() ? corekit::String(text, static_cast<size_t>(end - text)) : corekit::String("0");
}

double NumberRange::Read(corekit::String const& text) const {
    return Clamped(kind == NumberKind::Integer ? static_cast<double>(text.Int()) : text.Float());
}

corekit::String StepNumber(corekit::String const& text, NumberKind kind, int count, double low, double high) {
    if (kind == NumberKind::Integer) {
        int64_t const moved = Added(text.Int(), count);
        return corekit::String::From(std::clamp(moved, Whole(low), Whole(high)));
    }
    return corekit::String::From(std::clamp(Finite(text.Float()) + count, low, high));
}

corekit::String ClampNumber(corekit::String const& text, NumberKind kind, double low, double high) {
    double number = 0;
    if (!ReadAll(text, number) || (number >= low && number <= high))
        return text;
    return StepNumber(text, kind, 0, low, high);
}

NumberChoices::NumberChoices(corekit::OptionMap const& specials, CustomNumbers const& custom) : m_custom(custom) {
    for (auto const& [number, name] : specials)
        m_specials.push_back({number, name});
    std::stable_sort(m_specials.begin(), m_specials.end(),
                     [](Special const& a, Special const& b) { return a.number.Float() < b.number.Float(); });
}

std::vector<corekit::String> NumberChoices::Entries() const {
    std::vector<corekit::String> entries;
    for (Special const& special : m_specials)
        entries.push_back(special.name);
    entries.push_back(m_custom.custom);
    if (HasNegative())
        entries.push_back(m_custom.negative);
    return entries;
}

size_t NumberChoices::EntryOf(corekit::String const& value) const {
    double number = 0;
    bool const isNumber = ReadAll(value, number);
    for (size_t i = 0; i < m_specials.size(); ++i) {
        double named = 0;
        if (m_specials[i].number == value || (isNumber && ReadAll(m_specials[i].number, named) && named == number))
            return i;
    }
    return m_specials.size() + (HasNegative() && number < 0 ? 1 : 0);
}

corekit::String NumberChoices::StartOf(size_t entry) const {
    if (entry < m_specials.size())
        return m_specials[entry].number;
    return entry == m_specials.size() ? m_custom.customDefault : m_custom.negativeDefault;
}

corekit::String NumberChoices::ValueOf(size_t entry, corekit::String const& number) const {
    if (entry < m_specials.size())
        return m_specials[entry].number;
    double value = 0;
    corekit::String const trimmed = number.Trim();
    // Who has chosen the negative numbers need not type the sign.
    bool const needsSign = entry > m_specials.size() && ReadAll(trimmed, value) && value > 0;
    return needsSign ? "-" + trimmed : trimmed;
}
