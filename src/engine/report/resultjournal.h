#pragma once

// The runs that this Engine has taken, the results that the Master has not stored yet, and
// the commands that have still to run behind them.

#include "engine/runner/runner.h"

#include <corekit/path.h>
#include <corekit/uniquefd.h>
#include <vorlan/messages_farm.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vorlan {

// A command that must run, whatever becomes of this Engine. Its id is that of `spec`.
struct OwedCommand {
    String label;
    UID job; // whose folder it needs
    RunSpec spec;
};

// One line of the journal's file.
struct JournalRecord {
    enum class Kind : char { Begun = 'B', Ended = 'E', Done = 'D', Owed = 'O' };
    Kind kind = Kind::Begun;
    WorkEnded ended;  // Begun: the ids and the time alone; Done: the work (or the command) alone
    OwedCommand owed; // Owed alone
};

// The line with its line feed. Every field is text without blanks or escaped, and the
// last one is a checksum.
std::string JournalLine(JournalRecord const& record);

// Nothing for a line (without its line feed) that is damaged or cut off.
std::optional<JournalRecord> ReadJournalLine(std::string_view line);

// Keeps what must outlive the Engine in a file to which lines are only added.
//
// Owned by the WorkDesk; its thread only. A run is in one of three states: begun,
// ended, or forgotten. Records are gathered and written by Flush, before anything of
// the same turn is sent. A disk that cannot take them costs one error line; the
// records stay in memory and are written as soon as it can.
class ResultJournal {
public:
    static constexpr size_t k_CompactBytes = size_t{1} << 20;
    static constexpr int64_t k_ReadLimit = int64_t{256} << 20;

    // Reads the file. Runs that had begun and not ended become results with status
    // Lost: the Engine that ran them is gone. What cannot be read is passed over with
    // one warning.
    ResultJournal(Path file, Time now);

    void Begun(RunState const& run);
    // `worth`: how long the run took; the more, the more it is worth to wait for the disk.
    void Ended(WorkEnded const& ended, Time worth);
    // The Master has stored it. Nothing for a run without a result.
    void Acknowledged(UID const& work);
    // Stands in the journal until it is settled.
    void Owe(OwedCommand const& command);
    void Settled(UID const& command);

    // In no order.
    std::map<UID, WorkEnded> const& Pending() const { return m_ended; }
    std::map<UID, OwedCommand> const& Owed() const { return m_owed; }
    WorkEnded const* FindPending(UID const& work) const;
    // How many runs an earlier Engine has left unfinished.
    size_t CutOff() const { return m_cutOff; }

    void Flush();

private:
    void Load(Time now);
    void Add(JournalRecord const& record);
    void AddDone(UID const& id);
    bool Open();
    bool Write();
    void Compact();
    void Fail(char const* action, int systemError);

    Path const m_file;
    UniqueFd m_fd;
    std::map<UID, JournalRecord> m_begun;
    std::map<UID, WorkEnded> m_ended;
    std::map<UID, OwedCommand> m_owed;
    std::string m_waiting;
    size_t m_written = 0;   // bytes of the file
    size_t m_compacted = 0; // and when it was written anew
    size_t m_cutOff = 0;
    bool m_wantSync = false;
    bool m_failing = false;
};

} // namespace vorlan
