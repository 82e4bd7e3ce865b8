#include "tools/common/json_text.h"

#include <nlohmann/json.hpp>

#include <utility>

JsonValue::JsonValue(std::string Text) : Held(std::move(Text)) {}

JsonValue::JsonValue(double Number) : Held(Number) {}

JsonValue::JsonValue(Whole Value) : Held(Value.Number) {}

JsonValue::JsonValue(JsonObject Fields) : Held(std::move(Fields)) {}

JsonValue::JsonValue(JsonArray Values) : Held(std::move(Values)) {}

JsonValue::JsonValue(const JsonValue& Other) = default;

JsonValue::~JsonValue() = default;

namespace {

nlohmann::json Convert(const JsonValue& Value);

nlohmann::json Convert(const JsonObject& Fields)
{
    nlohmann::json Object = nlohmann::json::object();
    for (const JsonField& Each : Fields) Object[Each.Name] = Convert(Each.Value);
    return Object;
}

nlohmann::json Convert(const JsonArray& Values)
{
    nlohmann::json Array = nlohmann::json::array();
    for (const JsonValue& Each : Values) Array.push_back(Convert(Each));
    return Array;
}

template <class Plain>
nlohmann::json Convert(const Plain& Value)
{
    return Value;
}

nlohmann::json Convert(const JsonValue& Value)
{
    return std::visit([](const auto& Held) { return Convert(Held); }, Value.Held);
}

} // namespace

std::string JsonText(const JsonValue& Value, int Indent) { return Convert(Value).dump(Indent); }
