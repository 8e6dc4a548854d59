#include "sim/formats/json.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace k4sim {

using Library = nlohmann::ordered_json;

struct Json::Value {
    explicit Value(Library value) : json(std::move(value)) {}

    Library json;
};

Json::Json(std::unique_ptr<Value> value) : value_(std::move(value)) {}
Json::Json(std::string_view text) : Json(std::make_unique<Value>(Library(text))) {}
Json::Json(std::int64_t number) : Json(std::make_unique<Value>(Library(number))) {}
Json::Json(double number) : Json(std::make_unique<Value>(Library(number))) {}
Json::Json(bool flag) : Json(std::make_unique<Value>(Library(flag))) {}
Json::Json(const Json& other) : Json(std::make_unique<Value>(*other.value_)) {}
Json::Json(Json&& other) noexcept = default;
Json::~Json() = default;

Json& Json::operator=(Json other) noexcept {
    value_.swap(other.value_);
    return *this;
}

Json Json::object() { return Json(std::make_unique<Value>(Library::object())); }
Json Json::array() { return Json(std::make_unique<Value>(Library::array())); }

std::optional<Json> Json::parse(std::string_view text) {
    Library json = Library::parse(text, nullptr, false);
    if (json.is_discarded()) return std::nullopt;
    return Json(std::make_unique<Value>(std::move(json)));
}

Json& Json::set(std::string_view name, const Json& value) {
    value_->json[std::string(name)] = value.value_->json;
    return *this;
}

void Json::erase(std::string_view name) { value_->json.erase(std::string(name)); }

bool Json::has(std::string_view name) const { return value_->json.contains(name); }

std::optional<std::string> Json::text(std::string_view name) const {
    const auto found = value_->json.find(name);
    if (found == value_->json.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

std::optional<std::int64_t> Json::integer(std::string_view name) const {
    const auto found = value_->json.find(name);
    if (found == value_->json.end() || !found->is_number_integer()) return std::nullopt;
    return found->get<std::int64_t>();
}

std::optional<bool> Json::flag(std::string_view name) const {
    const auto found = value_->json.find(name);
    if (found == value_->json.end() || !found->is_boolean()) return std::nullopt;
    return found->get<bool>();
}

std::optional<double> Json::number(std::string_view name) const {
    const auto found = value_->json.find(name);
    if (found == value_->json.end() || !found->is_number()) return std::nullopt;
    return found->get<double>();
}

std::vector<Json> Json::list(std::string_view name) const {
    std::vector<Json> values;
    const auto found = value_->json.find(name);
    if (found == value_->json.end() || !found->is_array()) return values;
    for (const Library& value : *found)
        values.push_back(Json(std::make_unique<Value>(value)));
    return values;
}

std::string Json::as_text() const {
    return value_->json.is_string() ? value_->json.get<std::string>() : "";
}

Json& Json::add(const Json& value) {
    value_->json.push_back(value.value_->json);
    return *this;
}

std::string Json::dump(int indent) const { return value_->json.dump(indent); }

} // namespace k4sim
