// What the sub menu of a Command lists for a Job.

#include <vorlan/command.h>

#include <vorlan/job.h>
#include <vorlan/keys.h>
#include <vorlan/range.h>

namespace vorlan {

namespace {

String FrameItems(FrameRange const& range) {
    String items;
    for (uint64_t i = 0; i < range.Count() && i < Command::k_ItemizeLimit; ++i)
        items += (i > 0 ? k_NL : "") + String::From(range.At(i));
    return items;
}

String PacketItems(FrameRange const& range, uint64_t size) {
    String items;
    for (uint64_t i = 0; i < range.PacketCount(size) && i < Command::k_ItemizeLimit; ++i)
        items += (i > 0 ? k_NL : "") + range.Packet(i, size).Text();
    return items;
}

} // namespace

std::vector<String> const& Command::GetAllItemizers() {
    static std::vector<String> const itemizers = {"Frames", "Packets"};
    return itemizers;
}

String Command::Itemize(Job const& job) const {
    if (m_itemizer.Empty())
        return {};
    String text = job.GetParameterString(p_SubRange);
    if (text.Empty())
        text = job.GetParameterString(p_Range);
    FrameRange range;
    if (!FrameRange::Parse(text, range))
        return {};
    if (m_itemizer.CompareNoCase("Frames") == 0)
        return FrameItems(range);
    if (m_itemizer.CompareNoCase("Packets") == 0)
        return PacketItems(range, static_cast<uint64_t>(std::max(job.PacketSize(), 1)));
    return {};
}

} // namespace vorlan
