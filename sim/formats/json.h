// JSON values. The library that reads and writes them is included by json.cpp alone: its headers
// take longer to compile than all the rest of the launcher.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// One value. Members of an object keep the order in which they were set.
class Json {
public:
    static Json object();
    static Json array();
    // Empty when the text is no JSON.
    static std::optional<Json> parse(std::string_view text);

    Json(std::string_view text);
    Json(const std::string& text) : Json(std::string_view(text)) {}
    Json(const char* text) : Json(std::string_view(text)) {}
    Json(std::int64_t number);
    Json(int number) : Json(std::int64_t{number}) {}
    Json(double number);
    Json(bool flag);
    Json(const Json& other);
    Json(Json&& other) noexcept;
    Json& operator=(Json other) noexcept;
    ~Json();

    // Of an object. set() replaces what was there.
    Json& set(std::string_view name, const Json& value);
    void erase(std::string_view name);
    bool has(std::string_view name) const;
    // Empty when there is no such member, or it is of another kind.
    std::optional<std::string> text(std::string_view name) const;
    std::optional<std::int64_t> integer(std::string_view name) const;
    std::optional<bool> flag(std::string_view name) const;
    std::optional<double> number(std::string_view name) const;
    // The values of an array; none when there is no such member.
    std::vector<Json> list(std::string_view name) const;

    // Empty when it is no text.
    std::string as_text() const;

    // Of an array: one more value at its end.
    Json& add(const Json& value);

    // indent: spaces a level; negative: all in one line.
    std::string dump(int indent = -1) const;

private:
    struct Value;
    explicit Json(std::unique_ptr<Value> value);

    std::unique_ptr<Value> value_;
};

} // namespace k4sim
