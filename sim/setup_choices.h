// The values of a setup that are chosen by name, as on the command line.
#pragma once

#include "sim/setup.h"

#include <optional>
#include <string_view>
#include <vector>

namespace k4sim {

template <class Value>
struct Choice {
    Value value;
    std::string_view name;
};

inline constexpr Choice<Board> boards[] = {
    {Board::aes, "aes"},       {Board::plain, "plain"}, {Board::i2c, "i2c"},
    {Board::engine, "engine"}, {Board::none, "none"},
};

inline constexpr Choice<OperatorKind> operators[] = {
    {OperatorKind::automatic, "auto"},
    {OperatorKind::human, "human"},
    {OperatorKind::none, "none"},
};

inline constexpr Choice<Schedule> schedules[] = {
    {Schedule::fair, "fair"},
    {Schedule::random, "random"},
};

inline constexpr Choice<Role> roles[] = {
    {Role::serial, "serial"},   {Role::network, "network"}, {Role::sound, "sound"},
    {Role::speaker, "speaker"}, {Role::ports, "ports"},
};

// Of a table with every value in it.
template <class Value, std::size_t count>
std::string_view name_of(const Choice<Value> (&choices)[count], Value value) {
    const Choice<Value>* choice = choices;
    while (choice->value != value)
        ++choice;
    return choice->name;
}

// Empty for an unknown name.
template <class Value, std::size_t count>
std::optional<Value> value_of(const Choice<Value> (&choices)[count], std::string_view name) {
    for (const Choice<Value>& choice : choices)
        if (choice.name == name) return choice.value;
    return std::nullopt;
}

template <class Value, std::size_t count>
std::vector<std::string_view> names_of(const Choice<Value> (&choices)[count]) {
    std::vector<std::string_view> names;
    for (const Choice<Value>& choice : choices)
        names.push_back(choice.name);
    return names;
}

} // namespace k4sim
