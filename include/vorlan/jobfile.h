#pragma once

// Job files (".vj").

#include <boost/shared_ptr.hpp>
#include <corekit/path.h>
#include <vorlan/fwd.h>

#include <memory>
#include <vector>

namespace vorlan {

// The Jobs of one file, read or to be written.
//
// Owned by whoever opens it; one thread. The file is JSON that people can read and
// edit. What a newer program wrote and this one does not know is kept and written
// back. A file is never half written: a failure leaves the old one.
class JobFile {
public:
    static constexpr unsigned k_FormatVersion = 1;
    static constexpr size_t k_MaxFileBytes = size_t{256} << 20;
    static constexpr size_t k_MaxJobs = 100'000;
    static constexpr size_t k_MaxDepth = 32;

    // Reads the file at once if `forReading`. `asStored`: the Jobs keep ids, status
    // and times of the file; otherwise each is a new Job with a fresh id, queued or
    // paused. Throws FileException if it cannot be read, ParseException with the
    // place if it is no Job file. Without `forReading` SaveJobs replaces what is there.
    JobFile(Path const& path, bool forReading, bool asStored);
    // New Jobs of a text that came some other way; `name` stands for it in what is said.
    JobFile(String const& text, String const& name);
    ~JobFile();
    JobFile(JobFile const&) = delete;
    JobFile& operator=(JobFile const&) = delete;

    // Brings the Jobs of a file that an older program wrote up to date. `version` as
    // k_VorlanVersion, 0 for unknown. A Job whose Product is unknown by id but known
    // by name or alias gets that Product.
    void ConformFromVersion(unsigned version);

    // Throws ParseException for values of names that nobody knows, in a file that this version wrote or a person;
    // what another version wrote may have more and is kept: the answer warns of it, empty when there is none.
    // Jobs of unknown Products are passed over.
    String CheckNames() const;

    // Writes the list in place of the file, whatever that was. Throws FileException; the old file is whole then.
    void SaveJobs();

    std::vector<boost::shared_ptr<Job>>& Jobs() { return m_jobs; }
    std::vector<boost::shared_ptr<Job>> const& Jobs() const { return m_jobs; }
    void AddJob(boost::shared_ptr<Job> const& job) { m_jobs.push_back(job); }

    // The program version that wrote the file, 0 for unknown.
    unsigned WriterVersion() const { return m_writerVersion; }

    // The text of a file, for those who keep Jobs elsewhere.
    static String ToText(std::vector<boost::shared_ptr<Job>> const& jobs);
    static std::vector<boost::shared_ptr<Job>> FromText(String const& text);

private:
    struct Unknown; // what the file holds beyond what this program knows
    void Read();
    void Take(String const& text);

    Path const m_path;
    bool const m_asStored;
    std::vector<boost::shared_ptr<Job>> m_jobs;
    std::unique_ptr<Unknown> m_unknown;
    unsigned m_writerVersion = 0;
};

} // namespace vorlan
