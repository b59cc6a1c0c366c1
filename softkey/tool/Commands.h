// The tool's commands. Each answers what it did, as text for people and as JSON for programs; it throws
// ToolError and Failure.
#pragma once

#define JSON_NO_IO
#include <nlohmann/json.hpp>

#include "Console.h"
#include "Options.h"

namespace kzr::softkey::tool {

using Json = nlohmann::ordered_json;

struct Report {
    std::string text;
    Json json = Json::object();
};

Report Create(const Options& options);
Report Import(const Options& options);

Report List(const Options& options);
Report Show(const Options& options);
Report Status(const Options& options);

Report Plug(const Options& options);
Report Unplug(const Options& options);
Report Delete(const Options& options);
Report SetPin(const Options& options);
Report UnblockPin(const Options& options);

Report Export(const Options& options);
Report ExportAuthority(const Options& options);
Report Revoke(const Options& options);

Report Register(const Options& options);
Report Unregister(const Options& options);

}  // namespace kzr::softkey::tool
