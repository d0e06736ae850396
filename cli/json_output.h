// JSON, one object a line.
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace cli {

// The object on one line. Keys and rules may hold any bytes; those that are no UTF-8 become U+FFFD.
std::string jsonText(const nlohmann::ordered_json& object);

}  // namespace cli
