#pragma once

// What an Engine record and the default Engine settings share.

#include <corekit/time.h>
#include <vorlan/vorlanobject.h>

#include <map>
#include <set>
#include <vector>

namespace vorlan {

// The settings of an Engine.
//
// A value of its own or the base of an Engine; any thread, as VorlanObject says. A
// setting that was never customised follows the default Engine settings of the farm
// (SetDefaultEngine) and, without those, the built-in ones. Setting a value to what
// the default says makes it follow the default again.
class CommonEngine : public VorlanObject {
public:
    CommonEngine() = default;
    explicit CommonEngine(UID const& engineID) : VorlanObject(engineID) {}

    String Get(String const& name, bool useDefault) const override;

    // Takes over all settings of the other, customised or not; what an Engine is
    // (id, name, host and the like) stays.
    virtual void CopyCommon(CommonEngine const& other);

    bool Enabled() const;
    void SetEnabled(bool enabled);

    // No setting is customised.
    bool IsDefault() const;
    void SetToDefault();

    // 0 to 100.
    int Priority() const;
    void SetPriority(signed char priority);

    // Cores for work; without a setting all that there are.
    unsigned UseCores() const;
    void SetUseCores(unsigned cores);

    // Cores that each unit counts for: -1 as the Job says, 0 all.
    int ForceCores() const;
    void SetForceCores(int cores);

    bool Restricted() const;
    void Restrict(bool restricted);
    // Cores within the restricted times; 0: no work at all.
    unsigned RestrictedCores() const;
    void RestrictCores(unsigned cores);
    // Bit 0 Sunday to bit 6 Saturday. A day stands for the window that begins on it.
    unsigned char RestrictedDays() const;
    void RestrictDays(unsigned char days);
    // The restricted times as milliseconds of the Engine's own day. True when they
    // apply at all. `to` at or before `from` ends on the next day.
    bool RestrictedTimes(Time& from, Time& to) const;
    void RestrictTimes(Time const& from, Time const& to);
    // The restriction applies at this moment (a point in time, UTC). From the first
    // millisecond of the window to the one before its end.
    bool IsRestricted(Time const& moment) const;
    // Minutes that the Engine's clock is ahead of UTC.
    int UTCOffset() const;
    void SetUTCOffset(int minutes);

    // Minutes without work until it sleeps; 0: never.
    unsigned GetIdleSleepTime() const;
    void SetIdleSleepTime(unsigned minutes);
    // Minutes that it sleeps at least; 0: it is not woken.
    unsigned GetMinSleepTime() const;
    void SetMinSleepTime(unsigned minutes);

    // In order of their priority.
    std::vector<UID> GetAllPools() const;
    void SetPools(std::vector<UID> const& pools);

    bool CanWorkOnType(UID const& product) const;
    void DisableProducts(std::set<UID> const& products);
    std::set<UID> DisabledProducts() const;

    // A count ("4") or device ids with commas ("0,2,3"); empty: none.
    String UseGPUs() const;

    // The command for an event by the event's TypeName(); empty: none.
    String GetEventCommand(String const& eventName) const;
    void SetEventCommand(String const& eventName, String const& command);

    // Settings from a file and the options of its Products. Keys that the file has
    // not got stay as they are; values that make no sense are left out with a
    // warning in the log.
    void FromEngineINI(IniFile& file, std::map<UID, OptionMap>& products);
    void ToEngineINI(IniFile& file, std::map<UID, OptionMap> const& products) const;

    // Gives every setting that was never customised here the other's value.
    void FillFrom(CommonEngine const& defaults);

    // The default Engine settings of the farm, for all Engines of this process. The
    // first form triggers EngineDefaultChangedEvt.
    static void SetDefaultEngine(CommonEngine const& settings);
    static boost::shared_ptr<CommonEngine const> GetDefaultEngine();

protected:
    // The value that counts: its own, the default Engine's, or the built-in one.
    String Effective(String const& name) const;
    // Within its range.
    int64_t EffectiveNumber(KnownValue value) const;
    void SetCommon(char const* name, String const& value);
};

} // namespace vorlan
