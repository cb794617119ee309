#pragma once

#include <corekit/inifile.h>

namespace corekit {

// Options that write themselves back to their file on each change. Owned by the
// application; any thread may use it, every public call is locked. A change
// counts only when a value differs from what was there.
// A write that fails is logged once as an error, the change stays in memory, and
// the next change tries again. A file that is there and cannot be used is never
// written over: a damaged one is moved aside first, an unreadable one is left
// alone and the options live in memory only.
class OptionsFile : public IniFile {
public:
    OptionsFile() : IniFile(m_dataMutex) {}
    explicit OptionsFile(Path const& path) : OptionsFile() { Open(path); }
    ~OptionsFile() override;

    // Takes the options of this file, an empty set when there is no file yet, and
    // writes to it from now on. Never throws; what is wrong is logged. False when
    // the file was there and could not be used.
    bool Open(Path const& path);
    Path FilePath() const;
    // What was wrong with the file, and what became of it; empty when it could be used.
    String Trouble() const;

    // Scope object: holds the writes until it ends. Nests, also across threads;
    // the end of the last one writes once, and only if something changed.
    class PauseAutoWrite {
    public:
        explicit PauseAutoWrite(OptionsFile& options);
        ~PauseAutoWrite();
        PauseAutoWrite(PauseAutoWrite const&) = delete;
        PauseAutoWrite& operator=(PauseAutoWrite const&) = delete;

    private:
        OptionsFile& m_options;
    };

    // Scope object: keeps other threads out while several calls belong together,
    // and holds the writes, so that the file is never written under the lock.
    class WriteLock {
    public:
        explicit WriteLock(OptionsFile& options) : m_pause(options), m_lock(options.m_dataMutex) {}

    private:
        PauseAutoWrite m_pause;
        RecursiveMutex::Lock m_lock;
    };

protected:
    void OnChanged() override;

private:
    bool HasToWrite() const;
    void WriteBack();
    static bool KeepDamaged(Path const& path, String& trouble);

    // Taken before m_dataMutex, held while the file is written so that writes
    // come in the order of the changes.
    CommonMutex m_writeMutex;
    bool m_failing CK_GUARDED_BY(m_writeMutex) = false;

    mutable RecursiveMutex m_dataMutex;
    Path m_path CK_GUARDED_BY(m_dataMutex);
    String m_trouble CK_GUARDED_BY(m_dataMutex);
    int m_pauses CK_GUARDED_BY(m_dataMutex) = 0;
    bool m_changed CK_GUARDED_BY(m_dataMutex) = false;
    bool m_mayWrite CK_GUARDED_BY(m_dataMutex) = false;
};

} // namespace corekit
