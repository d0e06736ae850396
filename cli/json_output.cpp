#include "json_output.h"

#include <nlohmann/json.hpp>

namespace cli {

void writeJson(const nlohmann::ordered_json& object, Output& output) {
    using ErrorHandler = nlohmann::ordered_json::error_handler_t;
    output.write(object.dump(-1, ' ', false, ErrorHandler::replace));
}

}  // namespace cli
