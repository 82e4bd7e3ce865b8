// Reports as JSON.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

struct JsonField;
struct JsonValue;
using JsonObject = std::vector<JsonField>;
using JsonArray = std::vector<JsonValue>;

/// What a field of a report may hold. An object within it is a list of fields, which are declared below: what makes or
/// destroys one is in the source.
struct JsonValue {
    JsonValue(const char* pText) : JsonValue(std::string(pText)) {}
    JsonValue(std::integral auto Number) : JsonValue(Whole{static_cast<int64_t>(Number)}) {}
    JsonValue(std::string Text);
    JsonValue(double Number);
    JsonValue(JsonObject Fields);
    JsonValue(JsonArray Values);
    JsonValue(const JsonValue& Other);
    JsonValue& operator=(const JsonValue&) = delete;
    ~JsonValue();

    std::variant<std::string, int64_t, double, JsonObject, JsonArray> Held;

private:
    struct Whole {
        int64_t Number;
    };
    JsonValue(Whole Value);
};

struct JsonField {
    std::string Name;
    JsonValue Value;
};

/// The text of a value, the fields of each object in the order of their names.
///
/// @param Indent  Columns by which what is within an object or array is set in, each on a line of its own; without it
///                all is one line.
std::string JsonText(const JsonValue& Value, int Indent = -1);
