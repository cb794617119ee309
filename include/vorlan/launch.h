#pragma once

#include <corekit/optionmap.h>
#include <corekit/path.h>
#include <corekit/string.h>
#include <vorlan/fwd.h>
#include <vorlan/launchtemplate.h>

#include <boost/shared_ptr.hpp>

#include <map>
#include <vector>

namespace vorlan {

class Job;
class Product;

inline constexpr size_t k_ExpectedFilesLimit = 10000;   // the first ones of a unit are checked
inline constexpr size_t k_ArgumentLengthLimit = 131071; // the system takes no longer one
// Of all arguments and variables of a process together: the system takes 2 MiB, with what the Engine itself has.
inline constexpr size_t k_LaunchLengthLimit = size_t{3} << 19;

// A process to start. `arguments` is complete: with `shell` it is already "/bin/sh", "-c" and the script, whose values
// are among the environment.
struct Launch {
    std::vector<String> arguments;
    std::map<String, String> environment;
    Path folder;               // empty: the caller's choice
    bool createFolder = false; // `folder` is to be made when it is not there
    bool shell = false;
    std::vector<String> expectedFiles; // at most k_ExpectedFilesLimit; relative ones are relative to `folder`

    // The command line as a person would type it, for logs.
    String Text() const;
};

// The same for any process: the values that a script expands, then the arguments.
String CommandText(std::vector<String> const& arguments, std::map<String, String> const& environment);

// The process of a work unit. engineValues: the Engine's options for this Product, and "Engine.Name", "Engine.ID".
// A value comes from the unit, else from the Engine's options (which for an Option parameter come first),
// else from the Product's default. Throws ArgumentException with a text for people when a required value is
// missing, a frame range does not parse, or no program remains.
Launch BuildLaunch(Product const& product, Job const& work, OptionMap const& engineValues);

// What is wrong with the scripts of a Job, those of its events too: a value stands where a shell cannot take one.
// Empty when nothing is. `product` may be null.
String CheckScripts(Product const* product, Job const& job);

// The process of a Product's Command for a Job or work unit. `item` is the entry chosen from the Command's sub menu.
// Answers false when the Product has no such Command or the Command starts no process.
bool BuildCommandLaunch(Product const& product, Job const& job, String const& command, String const& item,
                        Launch& launch);

// A template with this Job's values and the Product's defaults; the product may be null. Throws as a launch does.
String ExpandTemplate(String const& text, Job const& job, Product const* product);

} // namespace vorlan
