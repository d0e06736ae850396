// Output of JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "text_output.h"

namespace cli {

// Writes an object without spaces and line breaks. Bytes that are no UTF-8 become U+FFFD, so that
// the output is valid JSON for every input.
void writeJson(const nlohmann::ordered_json& object, Output& output);

}  // namespace cli
