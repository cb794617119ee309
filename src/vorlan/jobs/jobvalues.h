#pragma once

#include <corekit/optionmap.h>
#include <vorlan/jobtemplate.h>

#include <optional>
#include <set>

namespace vorlan {

// The values that a Job's or unit's templates may refer to: its own, the Engine's options, those made from its
// frames, the Product's derived ones and defaults. Made on the stack for one expansion or launch; one thread.
// Job, Product and options must outlive it.
class JobValues : public TemplateValues {
public:
    JobValues(Job const& job, Product const* product, OptionMap const* engineValues = nullptr)
        : m_job(job), m_product(product), m_engineValues(engineValues) {}

    bool Find(std::string_view name, String& value) const override;
    bool IsTrue(std::string_view name, String const& value) const override;

    // $(Frame) from now on; derived values are made anew.
    void SetFrame(int64_t frame);
    // $(Item) of a Command's sub menu.
    void SetItem(String const& item) { m_item = item; }
    // A history row's copy of the Job has the row's frames as its name: takes them for the unit's.
    void TakeNameAsRange();
    // Whether the unit's frames are evenly spaced.
    bool HasEvenFrames() const;
    // Whether $(Frame) was looked at since the last call.
    bool TakeFrameUsed();

private:
    // The numbers of a range's frames.
    struct Frames {
        int64_t first = 0; // the lowest
        int64_t last = 0;  // the highest
        int64_t step = 1;
        uint64_t count = 0;
        bool even = true;
        String list; // comma between all numbers, at most k_FrameListLimit of them
    };

    bool FindOwn(std::string_view name, String& value) const;
    bool FindStored(std::string_view name, String& value) const;
    bool FindFrames(std::string_view name, String& value) const;
    bool FindIdentity(std::string_view name, String& value) const;
    bool FindField(std::string_view name, String& value) const;
    bool FindDerived(std::string_view name, String& value) const;
    bool FindDefault(std::string_view name, String& value) const;
    Frames const& UnitFrames() const;
    Frames const& RangeFrames() const;
    static Frames ReadFrames(String const& text, char const* name);

    // Constant after construction
    Job const& m_job;
    Product const* m_product;
    OptionMap const* m_engineValues;

    String m_item;
    std::optional<int64_t> m_frame;
    mutable bool m_frameUsed = false;
    mutable std::optional<Frames> m_unitFrames;
    mutable std::optional<Frames> m_rangeFrames;
    mutable OptionMap m_derived; // made already
    mutable std::set<String, String::ciless> m_underWay;
};

} // namespace vorlan
