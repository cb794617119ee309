#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/optionsfile.h>

namespace corekit {

namespace {
constexpr char k_NotKept[] = " Changes to the options are not kept until this is put right.";
}

OptionsFile::~OptionsFile() {
    // A write that failed gets its last chance.
    WriteBack();
}

bool OptionsFile::Open(Path const& path) {
    {
        RecursiveMutex::Lock const lock(m_dataMutex);
        m_path = path;
        m_mayWrite = false;
    }
    String trouble;
    bool mayWrite = true;
    try {
        Load(path, false, true);
    } catch (ParseException const& exception) {
        trouble = exception.what();
        mayWrite = KeepDamaged(path, trouble);
    } catch (std::exception const& exception) {
        trouble = String(exception.what()) + k_NotKept;
        mayWrite = false;
    }
    bool const usable = trouble.Empty();
    if (!usable) {
        LogError(trouble);
        Clear();
    }
    RecursiveMutex::Lock const lock(m_dataMutex);
    m_trouble = trouble;
    m_mayWrite = mayWrite;
    m_changed = false;
    return usable;
}

// True when the file is out of the way. Adds to `trouble` where it is.
bool OptionsFile::KeepDamaged(Path const& path, String& trouble) {
    try {
        trouble += " The damaged options are kept as \"" + File::MoveAside(path) + "\"; new ones are begun.";
        return true;
    } catch (FileException const& exception) {
        trouble += " " + String(exception.what()) + k_NotKept;
        return false;
    }
}

Path OptionsFile::FilePath() const {
    RecursiveMutex::Lock const lock(m_dataMutex);
    return m_path;
}

String OptionsFile::Trouble() const {
    RecursiveMutex::Lock const lock(m_dataMutex);
    return m_trouble;
}

OptionsFile::PauseAutoWrite::PauseAutoWrite(OptionsFile& options) : m_options(options) {
    RecursiveMutex::Lock const lock(options.m_dataMutex);
    ++options.m_pauses;
}

OptionsFile::PauseAutoWrite::~PauseAutoWrite() {
    {
        RecursiveMutex::Lock const lock(m_options.m_dataMutex);
        --m_options.m_pauses;
    }
    m_options.WriteBack();
}

void OptionsFile::OnChanged() {
    {
        RecursiveMutex::Lock const lock(m_dataMutex);
        m_changed = true;
    }
    WriteBack();
}

bool OptionsFile::HasToWrite() const {
    RecursiveMutex::Lock const lock(m_dataMutex);
    return m_pauses == 0 && m_changed && m_mayWrite;
}

void OptionsFile::WriteBack() {
    // Asked first with the data lock alone: whoever holds a WriteLock comes no
    // further, and so never waits for m_writeMutex under the data lock.
    if (!HasToWrite())
        return;
    CommonMutex::Lock const writing(m_writeMutex);
    Path path;
    String text;
    {
        RecursiveMutex::Lock const lock(m_dataMutex);
        if (!HasToWrite())
            return;
        path = m_path;
        text = SaveText();
        m_changed = false;
    }
    try {
        File::WriteWhole(path, text);
        m_failing = false;
    } catch (std::exception const& exception) {
        {
            RecursiveMutex::Lock const lock(m_dataMutex);
            m_changed = true;
        }
        if (!std::exchange(m_failing, true))
            LogError(String("The options could not be saved and are kept in memory. ") + exception.what());
    }
}

} // namespace corekit
