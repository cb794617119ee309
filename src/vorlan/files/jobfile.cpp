#include <vorlan/jobfile.h>

#include <boost/make_shared.hpp>
#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <nlohmann/json.hpp>
#include <vorlan/job.h>
#include <vorlan/jobcheck.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/optionstext.h>
#include <vorlan/product.h>
#include <vorlan/version.h>

#include <set>
#include <string>

namespace vorlan {

namespace {

using Json = nlohmann::ordered_json;

constexpr char k_Format[] = "Vorlan Jobs";
constexpr char k_KeyFormat[] = "format";
constexpr char k_KeyVersion[] = "version";
constexpr char k_KeyProgram[] = "program";
constexpr char k_KeyJobs[] = "jobs";
constexpr char k_KeyID[] = "id";
constexpr char k_KeyParent[] = "parent";
constexpr char k_KeyProduct[] = "product";
constexpr char k_KeyValues[] = "values";
constexpr char k_HexPrefix[] = "hex:";
constexpr char k_LowHexDigits[] = "0123456789abcdef";
constexpr int k_SecretMode = 0600;
constexpr int k_Indent = 2;

bool IsUTF8(std::string const& text) {
    try {
        (void)Json(text).dump();
        return true;
    } catch (Json::exception const&) {
        return false;
    }
}

// JSON holds UTF-8 alone; other bytes are written as "hex:00ff".
std::string ToJsonText(String const& text) {
    if (!text.StartsWith(k_HexPrefix) && IsUTF8(text.Str()))
        return text.Str();
    std::string hex = k_HexPrefix;
    for (char const c : text) {
        hex += k_LowHexDigits[static_cast<unsigned char>(c) >> 4];
        hex += k_LowHexDigits[static_cast<unsigned char>(c) & 15];
    }
    return hex;
}

String FromJsonText(std::string const& text) {
    size_t const prefix = sizeof k_HexPrefix - 1;
    if (text.compare(0, prefix, k_HexPrefix) != 0 || (text.size() - prefix) % 2 != 0)
        return text;
    String bytes;
    for (size_t i = prefix; i < text.size(); i += 2) {
        size_t const high = std::string_view(k_LowHexDigits).find(String::FoldCase(text[i]));
        size_t const low = std::string_view(k_LowHexDigits).find(String::FoldCase(text[i + 1]));
        if (high > 15 || low > 15)
            return text; // a person wrote it so
        bytes += static_cast<char>(high << 4 | low);
    }
    return bytes;
}

// The text of a value; false for what is no single value.
bool ValueText(Json const& json, String& text) {
    if (json.is_string())
        text = FromJsonText(json.get_ref<std::string const&>());
    else if (json.is_boolean())
        text = String::From(json.get<bool>());
    else if (json.is_number())
        text = json.dump();
    else
        return false;
    return true;
}

String TextMember(Json const& object, char const* key) {
    auto const at = object.find(key);
    String text;
    return at != object.end() && ValueText(*at, text) ? text : String();
}

UID UIDMember(Json const& object, char const* key) {
    UID id;
    return UID::FromString(TextMember(object, key), id) ? id : UID::Null;
}

unsigned UnsignedMember(Json const& object, char const* key) {
    auto const at = object.find(key);
    return at != object.end() && at->is_number_unsigned() ? at->get<unsigned>() : 0;
}

[[noreturn]] void Fail(String const& what) {
    throw ParseException("This is no Job file that can be read: " + what,
                         "A Job file is JSON text with \"format\": \"Vorlan Jobs\" and a list \"jobs\". "
                         "Save the Job again, or mend the file at that place.");
}

Json Parse(String const& text) {
    size_t depth = 0;
    auto const watch = [&](int, Json::parse_event_t event, Json&) {
        using Event = Json::parse_event_t;
        if (event == Event::object_start || event == Event::array_start) {
            if (++depth > JobFile::k_MaxDepth)
                Fail(SFormat("it nests deeper than %zu.", JobFile::k_MaxDepth));
        } else if (event == Event::object_end || event == Event::array_end) {
            --depth;
        }
        return true;
    };
    try {
        return Json::parse(text.begin(), text.end(), watch);
    } catch (Json::exception const& exception) {
        String const said = exception.what();
        Fail(said.Contains("] ") ? said.RightFirst("] ") : said);
    }
}

Json Without(Json object, std::initializer_list<char const*> keys) {
    for (char const* key : keys)
        object.erase(key);
    return object;
}

// What a newer program wrote into one Job beyond what this one knows.
struct UnknownOfJob {
    Json members = Json::object();
    Json values = Json::object(); // values that are no single texts
    String productName;
};

boost::shared_ptr<Job> ReadJob(Json const& json, size_t number, UnknownOfJob& unknown) {
    if (!json.is_object())
        Fail(SFormat("Job %zu of the list is no object in braces.", number + 1));
    auto const values = json.find(k_KeyValues);
    UID id = UIDMember(json, k_KeyID);
    if (id.IsNull() && values != json.end() && values->is_object())
        id = UIDMember(*values, p_ID);
    auto const job = boost::make_shared<Job>(id.IsNull() ? UID(true) : id);
    job->parentID = UIDMember(json, k_KeyParent);
    unknown.productName = TextMember(json, k_KeyProduct);
    unknown.members = Without(json, {k_KeyID, k_KeyParent, k_KeyProduct, k_KeyValues});
    if (values == json.end())
        return job;
    if (!values->is_object())
        Fail(SFormat("the \"values\" of Job %zu are no object in braces.", number + 1));
    OptionMap texts;
    for (auto const& [name, value] : values->items()) {
        String text;
        if (ValueText(value, text))
            texts[FromJsonText(name)] = text;
        else
            unknown.values[name] = value;
    }
    job->SetValues(texts);
    return job;
}

Json WriteJob(Job const& job, UnknownOfJob const* unknown) {
    Json json = Json::object();
    json[k_KeyID] = job.id.ToString().Str();
    if (!job.parentID.IsNull())
        json[k_KeyParent] = job.parentID.ToString().Str();
    shared_ptr<Product const> const product = JobFactory::s_JobFactory->GetProduct(job.Type());
    String const name = product ? product->Name() : unknown ? unknown->productName : String();
    if (!name.Empty())
        json[k_KeyProduct] = ToJsonText(name);
    Json& values = json[k_KeyValues] = Json::object();
    for (auto const& [key, value] : job.Values())
        values[ToJsonText(key)] = ToJsonText(value);
    if (unknown) {
        // What the Job has by now counts more than what the file had.
        for (auto const& [key, value] : unknown->values.items()) {
            if (!values.contains(key))
                values[key] = value;
        }
        for (auto const& [key, value] : unknown->members.items())
            json[key] = value;
    }
    return json;
}

// A Job read from a file becomes a Job of its own that nobody has worked on.
void MakeFresh(Job& job) {
    job.id = UID(true);
    job.parentID = UID::Null;
    if (!job.IsPaused())
        job.SetStatus(Queued);
    for (char const* name : {p_FinishedTime, p_PercentDone, p_SubRange})
        job.Clear(name);
    job.SetCreated(Time::CurrentTime());
}

// Jobs of one file that wait for each other, by id or by name, do so under their new ids; the ids of
// others stay. Of two Jobs with one id or name the first is meant.
void MakeAllFresh(std::vector<boost::shared_ptr<Job>> const& jobs) {
    std::map<String, UID, String::ciless> fresh;
    for (boost::shared_ptr<Job> const& job : jobs) {
        String const former = job->id.ToString();
        MakeFresh(*job);
        fresh.emplace(former, job->id);
        if (!job->Name().Empty())
            fresh.emplace(job->Name(), job->id);
    }
    auto const find = [&fresh](String const& word, UID& id) {
        UID former;
        auto const found = fresh.find(UID::FromString(word, former) ? former.ToString() : word);
        if (found != fresh.end())
            id = found->second;
        return found != fresh.end();
    };
    for (boost::shared_ptr<Job> const& job : jobs) {
        String const awaited = job->Get(p_WaitForJobID, false);
        if (!awaited.Empty())
            job->Set(p_WaitForJobID, NamesToUIDs(awaited, find));
    }
}

} // namespace

struct JobFile::Unknown {
    Json root = Json::object();
    std::map<Job const*, UnknownOfJob> jobs;
    unsigned formatVersion = 0;

    // The Jobs of a text; fills this.
    std::vector<boost::shared_ptr<Job>> Read(String const& text) {
        Json const file = Parse(text);
        if (!file.is_object() || TextMember(file, k_KeyFormat) != k_Format)
            Fail("its \"format\" is not \"Vorlan Jobs\".");
        auto const list = file.find(k_KeyJobs);
        if (list == file.end() || !list->is_array())
            Fail("it has no list \"jobs\".");
        if (list->size() > k_MaxJobs)
            Fail(SFormat("it has more than %zu Jobs.", k_MaxJobs));
        root = Without(file, {k_KeyFormat, k_KeyVersion, k_KeyProgram, k_KeyJobs});
        formatVersion = UnsignedMember(file, k_KeyVersion);
        program = UnsignedMember(file, k_KeyProgram);
        std::vector<boost::shared_ptr<Job>> read;
        for (size_t i = 0; i < list->size(); ++i) {
            UnknownOfJob unknown;
            read.push_back(ReadJob((*list)[i], i, unknown));
            jobs[read.back().get()] = std::move(unknown);
        }
        return read;
    }

    String Write(std::vector<boost::shared_ptr<Job>> const& list) const {
        Json file = Json::object();
        file[k_KeyFormat] = k_Format;
        file[k_KeyVersion] = std::max(k_FormatVersion, formatVersion);
        file[k_KeyProgram] = k_VorlanVersion;
        for (auto const& [key, value] : root.items())
            file[key] = value;
        Json& written = file[k_KeyJobs] = Json::array();
        for (boost::shared_ptr<Job> const& job : list) {
            auto const unknown = jobs.find(job.get());
            written.push_back(WriteJob(*job, unknown == jobs.end() ? nullptr : &unknown->second));
        }
        return file.dump(k_Indent) + "\n";
    }

    unsigned program = 0;
};

JobFile::JobFile(Path const& path, bool forReading, bool asStored)
    : m_path(path), m_asStored(asStored), m_unknown(std::make_unique<Unknown>()) {
    if (forReading)
        Read();
}

JobFile::JobFile(String const& text, String const& name)
    : m_path(name), m_asStored(false), m_unknown(std::make_unique<Unknown>()) {
    Take(text);
}

JobFile::~JobFile() = default;

void JobFile::Read() {
    int64_t const bytes = File::Size(m_path);
    if (bytes > static_cast<int64_t>(k_MaxFileBytes))
        throw ParseException("The Job file " + m_path + SFormat(" is larger than %zu bytes.", k_MaxFileBytes));
    Take(File::Read(m_path));
}

void JobFile::Take(String const& text) {
    try {
        m_jobs = m_unknown->Read(text);
    } catch (ParseException const& exception) {
        throw ParseException(m_path + ": " + exception.Message(), exception.Detail());
    }
    m_writerVersion = m_unknown->program;
    if (m_unknown->formatVersion > k_FormatVersion)
        LogInfo("The Job file " + m_path + " was written by a newer program; what it has more is kept.");
    if (!m_asStored)
        MakeAllFresh(m_jobs);
}

void JobFile::ConformFromVersion(unsigned version) {
    unsigned const writer = m_writerVersion != 0 ? m_writerVersion : version;
    for (boost::shared_ptr<Job> const& job : m_jobs) {
        if (JobFactory::s_JobFactory->GetProduct(job->Type()))
            continue;
        auto const unknown = m_unknown->jobs.find(job.get());
        String const name = unknown == m_unknown->jobs.end() ? String() : unknown->second.productName;
        auto const product = name.Empty() ? nullptr : JobFactory::s_JobFactory->FindProduct(name);
        if (!product)
            continue;
        LogInfo("Job '" + job->Name() + SFormat("', written by version %u, is of the Product '", writer) + name +
                "', which has another id now.");
        job->Set(p_Type, product->Type().ToString());
    }
}

String JobFile::CheckNames() const {
    std::set<String, String::ciless> names;
    for (boost::shared_ptr<Job> const& job : m_jobs) {
        auto const product = JobFactory::s_JobFactory->GetProduct(job->Type());
        if (!product)
            continue;
        for (auto const& [name, value] : job->Values()) {
            if (!IsJobValueName(name, *product))
                names.insert(product->Name() + ": " + name);
        }
        if (auto const unknown = m_unknown->jobs.find(job.get()); unknown != m_unknown->jobs.end()) {
            for (auto const& [name, value] : unknown->second.values.items())
                names.insert(product->Name() + ": " + name + ", which is no text and no number");
        }
    }
    if (names.empty())
        return {};
    String list;
    for (String const& name : names)
        list += "\n  " + name;
    bool const isOurs =
        (m_writerVersion == 0 || m_writerVersion == k_VorlanVersion) && m_unknown->formatVersion <= k_FormatVersion;
    if (isOurs)
        throw ParseException(m_path + " has values of names that nobody knows:" + list,
                             "Mend the names; `vorlan products NAME` lists those of a Product.");
    return m_path + " was written by another version. Names that nobody knows here are kept:" + list;
}

void JobFile::SaveJobs() {
    bool isSecret = false;
    for (boost::shared_ptr<Job> const& job : m_jobs)
        isSecret = isSecret || !job->Get(p_Password, false).Empty();
    File::WriteWhole(m_path, m_unknown->Write(m_jobs), isSecret ? k_SecretMode : File::k_KeepMode);
}

String JobFile::ToText(std::vector<boost::shared_ptr<Job>> const& jobs) { return Unknown().Write(jobs); }

std::vector<boost::shared_ptr<Job>> JobFile::FromText(String const& text) { return Unknown().Read(text); }

} // namespace vorlan
