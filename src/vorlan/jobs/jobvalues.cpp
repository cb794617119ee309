#include "jobvalues.h"

#include <corekit/exception.h>
#include <corekit/path.h>
#include <vorlan/job.h>
#include <vorlan/keys.h>
#include <vorlan/product.h>
#include <vorlan/range.h>

#include <algorithm>
#include <cstdlib>

namespace vorlan {

namespace {

constexpr uint64_t k_FrameListLimit = 100000;

bool Same(std::string_view a, std::string_view b) { return String::CompareNoCase(a, b) == 0; }

} // namespace

bool JobValues::Find(std::string_view name, String& value) const {
    if (Same(name, "Frame")) {
        m_frameUsed = true;
        if (m_frame) {
            value = String::From(*m_frame);
            return true;
        }
        return FindFrames("First", value);
    }
    return FindIdentity(name, value) || FindOwn(name, value) || FindFrames(name, value) || FindField(name, value) ||
           FindDerived(name, value);
}

bool JobValues::FindIdentity(std::string_view name, String& value) const {
    if (Same(name, "ID"))
        value = m_job.id.ToString();
    else if (Same(name, "JobID"))
        value = (m_job.parentID.IsNull() ? m_job.id : m_job.parentID).ToString();
    else if (Same(name, "Product") && m_product != nullptr)
        value = m_product->Name();
    else if (Same(name, "Item") && !m_item.Empty())
        value = m_item;
    else
        return false;
    return true;
}

bool JobValues::FindStored(std::string_view name, String& value) const {
    return m_job.GetParameter(String(name), value) && !value.Empty();
}

bool JobValues::FindOwn(std::string_view name, String& value) const {
    auto const parameter = m_product != nullptr ? m_product->GetParam(String(name)) : nullptr;
    auto const option = [&]() -> String const* {
        if (m_engineValues == nullptr)
            return nullptr;
        auto const found = m_engineValues->find(name);
        return found == m_engineValues->end() || found->second.Empty() ? nullptr : &found->second;
    }();
    bool const optionFirst = parameter && parameter->HasFlag(Parameter::f_Option);
    bool found = true;
    if (optionFirst && option != nullptr)
        value = *option;
    else if (FindStored(name, value))
        ;
    else if (option != nullptr)
        value = *option;
    else
        found = FindDefault(name, value);
    if (found && parameter && parameter->HasFlag(Parameter::f_Enquote))
        value = Path::Dequote(value);
    return found;
}

bool JobValues::FindDefault(std::string_view name, String& value) const {
    value = Job::DefaultText(String(name), m_product);
    return !value.Empty();
}

bool JobValues::FindFrames(std::string_view name, String& value) const {
    auto const give = [&value](Frames const& frames, int64_t number) {
        if (frames.count == 0)
            return false;
        value = String::From(number);
        return true;
    };
    if (Same(name, "First"))
        return give(UnitFrames(), UnitFrames().first);
    if (Same(name, "Last"))
        return give(UnitFrames(), UnitFrames().last);
    if (Same(name, "Step"))
        return give(UnitFrames(), UnitFrames().step);
    if (Same(name, "Count"))
        return give(UnitFrames(), static_cast<int64_t>(UnitFrames().count));
    if (Same(name, "RangeFirst"))
        return give(RangeFrames(), RangeFrames().first);
    if (Same(name, "RangeLast"))
        return give(RangeFrames(), RangeFrames().last);
    if (Same(name, p_RangeCount))
        return give(RangeFrames(), static_cast<int64_t>(RangeFrames().count));
    if (!Same(name, "Frames"))
        return false;
    value = UnitFrames().list;
    return !value.Empty();
}

bool JobValues::FindField(std::string_view name, String& value) const {
    size_t const dot = name.rfind('.');
    if (dot == std::string_view::npos || m_product == nullptr)
        return false;
    auto const parameter = m_product->GetParam(String(name.substr(0, dot)));
    if (!parameter || parameter->Type() != Parameter::t_Multi)
        return false;
    String whole;
    FindOwn(name.substr(0, dot), whole);
    std::vector<String> const fields = parameter->Multi_GetFields();
    std::vector<String> const texts = parameter->Multi_Disassemble(whole);
    for (size_t i = 0; i < fields.size() && i < texts.size(); ++i) {
        if (Same(fields[i], name.substr(dot + 1))) {
            value = texts[i];
            return !value.Empty();
        }
    }
    return false;
}

bool JobValues::FindDerived(std::string_view name, String& value) const {
    if (m_product == nullptr)
        return false;
    auto const text = m_product->GetDerivedValues().find(name);
    if (text == m_product->GetDerivedValues().end())
        return false;
    auto const made = m_derived.find(name);
    if (made != m_derived.end()) {
        value = made->second;
        return !value.Empty();
    }
    if (!m_underWay.insert(text->first).second)
        throw ArgumentException("The value \"" + text->first + "\" of the Product \"" + m_product->Name() +
                                "\" is made of itself. Break the circle in the Product's \"Values\".");
    bool const usedBefore = m_frameUsed;
    m_frameUsed = false;
    ExpandedTemplate const expanded = ExpandPieces(text->second, *this);
    // What lacks a part is no value at all.
    value = expanded.missing ? String() : expanded.Text();
    m_underWay.erase(text->first);
    // One that depends on the frame is cheap to make again and must be.
    if (!m_frameUsed)
        m_derived[text->first] = value;
    m_frameUsed = m_frameUsed || usedBefore;
    return !value.Empty();
}

bool JobValues::IsTrue(std::string_view name, String const& value) const {
    auto const parameter = m_product != nullptr ? m_product->GetParam(String(name)) : nullptr;
    return parameter ? parameter->IsTrue(value) : TemplateValues::IsTrue(name, value);
}

void JobValues::SetFrame(int64_t frame) { m_frame = frame; }

bool JobValues::TakeFrameUsed() {
    bool const used = m_frameUsed;
    m_frameUsed = false;
    return used;
}

JobValues::Frames const& JobValues::UnitFrames() const {
    if (!m_unitFrames) {
        String text;
        bool const isUnit = FindStored(p_SubRange, text);
        m_unitFrames = isUnit ? ReadFrames(text, p_SubRange) : RangeFrames();
    }
    return *m_unitFrames;
}

JobValues::Frames const& JobValues::RangeFrames() const {
    if (!m_rangeFrames) {
        String text;
        FindOwn(p_Range, text);
        m_rangeFrames = ReadFrames(text, p_Range);
    }
    return *m_rangeFrames;
}

JobValues::Frames JobValues::ReadFrames(String const& text, char const* name) {
    FrameRange range;
    String error;
    if (!FrameRange::Parse(text, range, &error))
        throw ArgumentException(String("The ") + name + " \"" + text.Mid(0, 200) + "\" is not a range of frames. " +
                                error);
    Frames frames;
    frames.count = range.Count();
    if (frames.count == 0)
        return frames;
    frames.first = range.At(0);
    frames.last = range.At(0);
    for (FrameRange::Part const& part : range.Parts()) {
        frames.first = std::min<int64_t>({frames.first, part.first, part.Last()});
        frames.last = std::max<int64_t>({frames.last, part.first, part.Last()});
    }
    frames.even = range.Parts().size() == 1;
    frames.step = range.Parts().front().count > 1 ? std::abs(range.Parts().front().step) : 1;
    if (frames.count <= k_FrameListLimit)
        range.ForEach([&frames](int frame) { frames.list += (frames.list.Empty() ? "" : ",") + String::From(frame); });
    return frames;
}

void JobValues::TakeNameAsRange() {
    String text;
    FrameRange range;
    if (FindStored(p_SubRange, text) || !FrameRange::Parse(m_job.Name(), range) || range.Empty())
        return;
    FrameRange whole;
    FindOwn(p_Range, text);
    if (FrameRange::Parse(text, whole) && range.Subtract(whole).Empty())
        m_unitFrames = ReadFrames(m_job.Name(), p_Name);
}

bool JobValues::HasEvenFrames() const { return UnitFrames().even; }

} // namespace vorlan
