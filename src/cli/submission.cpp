#include "cli/submission.h"

#include "cli/exitcode.h"
#include "cli/resolve.h"

#include <corekit/stringtokenizer.h>
#include <vorlan/keys.h>
#include <vorlan/range.h>

#include <filesystem>

namespace vorlan::cli {

namespace {

constexpr char k_ListSeparator[] = ";";
constexpr char k_OutputFolder[] = "OutputFolder";

bool IsJobsPath(Parameter const& parameter) {
    return parameter.IsPath() && parameter.HasFlag(Parameter::f_JobParameter);
}

// What begins with a reference is made elsewhere, what has a scheme lies elsewhere.
String AbsolutePath(String const& text, Path const& folder) {
    String const plain = Path::Dequote(text.Trim());
    if (plain.Empty() || plain.StartsWith("$") || plain.Contains("://") || Path(plain).IsAbsolute())
        return text;
    String path = Path((folder / Path(plain)).Native().lexically_normal());
    while (path.size() > 1 && path.EndsWith("/"))
        path.pop_back();
    return path;
}

String AbsoluteValue(Parameter const& parameter, String const& value, Path const& folder) {
    if (!parameter.IsList())
        return AbsolutePath(value, folder);
    String list;
    StringTokenizer parts(value, k_ListSeparator);
    String part;
    while (parts.Next(part)) {
        if (!part.Trim().Empty())
            list += (list.Empty() ? "" : k_ListSeparator) + AbsolutePath(part.Trim(), folder);
    }
    return list;
}

std::vector<String> JobParameterNames(Product const& product) {
    std::vector<String> names;
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        if (parameter->HasFlag(Parameter::f_JobParameter))
            names.push_back(parameter->GetName());
    }
    return names;
}

} // namespace

ValueSetting ParseSetting(String const& text) {
    size_t const at = text.Find('=');
    String const name = text.Mid(0, at).Trim();
    if (at == String::npos || name.Empty())
        throw CommandException(ExitCode::Usage,
                               "\"" + text + "\" sets nothing. Write --set Name=Value, for example --set Width=1280.");
    return {name, text.Mid(at + 1)};
}

void ApplySetting(Job& job, Product const& product, ValueSetting const& setting, Path const& folder,
                  FarmView const& view) {
    auto const parameter = product.GetParam(setting.name);
    if (!parameter) {
        String const nearest = NearestName(setting.name, JobParameterNames(product));
        throw CommandException(ExitCode::Usage, "The Product " + product.Name() + " has no parameter \"" +
                                                    setting.name + "\"." +
                                                    (nearest.Empty() ? String() : " Is " + nearest + " meant?") +
                                                    " `vorlan products \"" + product.Name() + "\"` lists all.");
    }
    String value = setting.value;
    if (setting.name.CompareNoCase(p_Pool) == 0 && !value.Empty())
        value = ResolvePool(view, value).ToString();
    else if (parameter->Type() == Parameter::t_Choice)
        value = parameter->GetChoice(value);
    else if (IsJobsPath(*parameter))
        value = AbsoluteValue(*parameter, value, folder);
    job.Set(parameter->GetName(), value);
}

void SetOutputFolder(Job& job, Product const& product, Path const& folder) {
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        if (parameter->Type() == Parameter::t_FolderPath && parameter->GetName().CompareNoCase(k_OutputFolder) == 0) {
            job.Set(parameter->GetName(), folder);
            return;
        }
    }
    throw CommandException(ExitCode::Usage, "The Product " + product.Name() +
                                                " has no output folder of its own. Set where it writes with --set.");
}

void ResolvePaths(Job& job, Product const& product, Path const& folder) {
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        String value;
        if (IsJobsPath(*parameter) && job.GetParameter(parameter->GetName(), value) && !value.Empty())
            job.Set(parameter->GetName(), AbsoluteValue(*parameter, value, folder));
    }
}

void CheckJob(Job const& job, Product const& product) {
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        String const name = parameter->GetName();
        // Every Job has a name in the end.
        if (!parameter->HasFlag(Parameter::f_Required) || !parameter->HasFlag(Parameter::f_JobParameter) ||
            name.CompareNoCase(p_Name) == 0 || name.CompareNoCase(p_Range) == 0)
            continue;
        String value;
        if (!job.GetParameter(name, value) || value.Empty())
            value = parameter->GetDefault();
        if (value.Empty())
            throw CommandException(ExitCode::Usage,
                                   "A Job of " + product.Name() + " needs a " + name + ": give --set " + name + "=...");
    }
    if (product.Class() != ProductClass::Sequence && product.Class() != ProductClass::VirtualModule)
        return;
    FrameRange range;
    String error;
    String const frames = job.Range(&product);
    if (!FrameRange::Parse(frames, range, &error))
        throw CommandException(ExitCode::Usage, "The frames \"" + frames + "\" cannot be used: " + error);
    if (range.Empty())
        throw CommandException(ExitCode::Usage, "The Job has no frames: give --frames, for example --frames 1-100.");
}

} // namespace vorlan::cli
