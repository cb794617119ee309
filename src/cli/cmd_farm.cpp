#include "cli/commandtools.h"
#include "cli/json.h"
#include "cli/resolve.h"
#include "cli/table.h"

#include <corekit/sformat.h>
#include <nlohmann/json.hpp>
#include <vorlan/jobfactory.h>
#include <vorlan/messages.h>
#include <vorlan/product.h>

#include <ostream>

namespace vorlan::cli {

namespace {

struct ListOptions {
    bool json = false;
};

struct ProductOptions {
    std::string name;
    bool json = false;
};

struct ReportOptions {
    std::string what;
    bool json = false;
};

Cell EngineState(Engine const& engine, size_t active) {
    if (!engine.Online())
        return engine.Status() < 0 ? Cell("Asleep", Colour::Grey) : Cell("Offline", Colour::Red);
    if (!engine.Enabled())
        return Cell("Disabled", Colour::Yellow);
    return active > 0 ? Cell("Working", Colour::Blue) : Cell("Idle", Colour::Green);
}

ExitCode Engines(Context& context, ListOptions const& options) {
    Farm& farm = context.TheFarm();
    farm.LoadPools();
    farm.LoadEngines();
    farm.LoadJobs();
    farm.LoadFailures();
    FarmView const& view = farm.View();
    if (options.json) {
        Json list = Json::array();
        for (Engine const* engine : view.EnginesByName())
            list.push_back(EngineToJson(*engine, view));
        context.Out() << JsonText(list);
        return ExitCode::Ok;
    }
    if (view.Engines().empty()) {
        context.Out() << "No Engine has ever connected. Start VorlanEngine on a machine.\n";
        return ExitCode::Ok;
    }
    Table table;
    table.AddColumn("ID");
    table.AddColumn("Name", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Status");
    table.AddColumn("Active", Table::Align::Right);
    table.AddColumn("Failures", Table::Align::Right);
    table.AddColumn("Cores", Table::Align::Right);
    table.AddColumn("Memory", Table::Align::Right);
    table.AddColumn("Operating System", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Pools", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Note", Table::Align::Left, Table::Width::MayShrink);
    for (Engine const* engine : view.EnginesByName()) {
        size_t const active = view.UnitCountOn(engine->id);
        String pools;
        for (UID const& pool : engine->GetAllPools())
            pools += (pools.Empty() ? "" : ", ") + view.PoolName(pool);
        table.AddRow({ShortId(engine->id), engine->Name(), EngineState(*engine, active), String::From(active),
                      FailureCell(view.FailuresOn(engine->id)), String::From(engine->MaxCores()), engine->Memory(),
                      engine->OperatingSystem(), pools, engine->Note()});
    }
    table.Print(context.Term());
    for (Engine const* engine : view.EnginesByName()) {
        String products;
        for (String const& product : BarredProductNames(*engine))
            products += (products.Empty() ? "" : ", ") + product;
        if (!products.Empty())
            context.Out() << Printable(engine->Name())
                          << " failed too often and gets no more work of: " << Printable(products)
                          << ". `vorlan reset` lets it try again.\n";
    }
    return ExitCode::Ok;
}

ExitCode Pools(Context& context, ListOptions const& options) {
    Farm& farm = context.TheFarm();
    farm.LoadPools();
    farm.LoadEngines();
    FarmView const& view = farm.View();
    Json list = Json::array();
    Table table;
    table.AddColumn("ID");
    table.AddColumn("Name", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Engines", Table::Align::Right);
    for (auto const& [id, name] : view.Pools()) {
        list.push_back(PoolToJson(id, view));
        table.AddRow({ShortId(id), name, String::From(list.back()["engines"].size())});
    }
    if (options.json)
        context.Out() << JsonText(list);
    else if (table.Empty())
        context.Out() << "There are no Pools.\n";
    else
        table.Print(context.Term());
    return ExitCode::Ok;
}

void PrintProduct(Context& context, Product const& product) {
    context.Out() << Printable(product.Name()) << " (" << product.ClassName() << ")\n"
                  << Printable(product.ShortHelp()) << "\n\n";
    Table table;
    table.AddColumn("Parameter");
    table.AddColumn("Type");
    table.AddColumn("Default", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Help", Table::Align::Left, Table::Width::MayShrink);
    Product full(product);
    full.ExpandHelp();
    for (size_t i = 0; i < full.GetParamCount(); ++i) {
        auto const parameter = full.GetParam(i);
        if (!parameter->HasFlag(Parameter::f_JobParameter) || parameter->IsHeading())
            continue;
        String name = parameter->GetName();
        if (parameter->HasFlag(Parameter::f_Required))
            name += " *";
        table.AddRow({name, Parameter::TypeLabel(parameter->Type()), parameter->GetDisplay(parameter->GetDefault()),
                      parameter->GetHelp().LeftFirst("\n")});
    }
    table.Print(context.Term());
    context.Out() << "\n* must be given\n";
}

ExitCode Products(Context& context, ProductOptions const& options) {
    context.TheFarm();
    JobFactory const& factory = *JobFactory::s_JobFactory;
    if (!options.name.empty()) {
        auto const product = ResolveProduct(options.name);
        if (options.json)
            context.Out() << JsonText(ProductToJson(*product));
        else
            PrintProduct(context, *product);
        return ExitCode::Ok;
    }
    Json list = Json::array();
    Table table;
    table.AddColumn("Name");
    table.AddColumn("Class");
    table.AddColumn("Help", Table::Align::Left, Table::Width::MayShrink);
    for (UID const& type : factory.ListProducts()) {
        auto const product = factory.GetProduct(type);
        if (!product)
            continue;
        list.push_back(ProductToJson(*product));
        table.AddRow({product->Name(), product->ClassName(), product->ShortHelp()});
    }
    if (options.json)
        context.Out() << JsonText(list);
    else if (table.Empty())
        context.Out() << "The Master has no Products. Install it anew.\n";
    else
        table.Print(context.Term());
    return ExitCode::Ok;
}

ExitCode Report(Context& context, ReportOptions const& options) {
    Farm& farm = context.TheFarm();
    farm.LoadJobs();
    farm.LoadEngines();
    std::vector<Candidate> candidates = JobCandidates(farm.View());
    auto const engines = EngineCandidates(farm.View());
    candidates.insert(candidates.end(), engines.begin(), engines.end());
    UID const id = Resolve("Job or Engine", options.what, candidates);
    bool const isJob = farm.View().Jobs().contains(id);
    String const text =
        isJob ? farm.Report(ReportJobStatusMsg::Create(id)) + "\n" + farm.Report(WatchJobDispatchMsg::Create(id))
              : farm.Report(WatchEngineDispatchMsg::Create(id));
    String const name = isJob ? farm.View().JobName(id) : farm.View().EngineName(id);
    context.Out() << (options.json ? JsonText(ReportToJson({id, isJob ? "Job" : "Engine", name, text}))
                                   : Printable(text, true));
    return ExitCode::Ok;
}

} // namespace

void AddFarmCommands(Commands& commands) {
    auto const engineOptions = std::make_shared<ListOptions>();
    CLI::App& engines = *commands.app.add_subcommand("engines", "List the Engines");
    AddJson(engines, engineOptions->json);
    commands.OnChosen(engines, engineOptions, &Engines);

    auto const poolOptions = std::make_shared<ListOptions>();
    CLI::App& pools = *commands.app.add_subcommand("pools", "List the Pools");
    AddJson(pools, poolOptions->json);
    commands.OnChosen(pools, poolOptions, &Pools);

    auto const productOptions = std::make_shared<ProductOptions>();
    CLI::App& products = *commands.app.add_subcommand("products", "List the Products, or the parameters of one");
    products.add_option("name", productOptions->name, "A Product by its name");
    AddJson(products, productOptions->json);
    commands.OnChosen(products, productOptions, &Products);

    auto const reportOptions = std::make_shared<ReportOptions>();
    CLI::App& report = *commands.app.add_subcommand("report", "Say why a Job or an Engine gets work or does not");
    report.add_option("what", reportOptions->what, "A Job or an Engine, by UID, start of it, or name")->required();
    AddJson(report, reportOptions->json);
    commands.OnChosen(report, reportOptions, &Report);
}

} // namespace vorlan::cli
