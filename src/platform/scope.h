// What holds for the life of a scope, whatever way the scope is left.
#pragma once

#include <utility>

// Runs the action at the end of the scope. The action must not throw.
template <typename Action>
class ScopeExit
{
public:
    explicit ScopeExit(Action action) : m_action(std::move(action)) {}
    ~ScopeExit() { m_action(); }
    ScopeExit(const ScopeExit&) = delete;
    ScopeExit& operator=(const ScopeExit&) = delete;

private:
    Action m_action;
};

// Sets the variable and puts its former value back at the end of the scope.
template <typename T>
class ScopedValue
{
public:
    ScopedValue(T& variable, T value)
        : m_variable(variable), m_former(std::exchange(variable, std::move(value)))
    {
    }
    ~ScopedValue() { m_variable = std::move(m_former); }
    ScopedValue(const ScopedValue&) = delete;
    ScopedValue& operator=(const ScopedValue&) = delete;

private:
    T& m_variable;
    T m_former;
};
