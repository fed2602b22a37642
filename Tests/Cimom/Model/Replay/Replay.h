// Replays recorded uses of the CIM library and compares what comes out.
//
// A case is {"id", "in": {"op", ...}, "out" or "throws"}; its "op" is looked up in the operations
// below. The operation "script" is a list of steps [verb, register, ...] whose results are listed
// in "out"; verbs are looked up in the verbs below.
#pragma once

#include <any>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include <nlohmann/json.hpp>

#include <Pegasus/Common/Exception.h>

namespace replay
{

using Json = nlohmann::json;

/// What an exception looks like in the recordings: type, message and, of a CIMException, code.
Json describe(const Pegasus::Exception& exception);

/// The result of the call, or {"throws"} when it throws.
template <class Call>
Json orThrows(Call call)
{
    try {
        return call();
    } catch (const Pegasus::Exception& exception) {
        return {{"throws", describe(exception)}};
    }
}

/// Makes the call; returns {} or {"throws"}, to which the caller adds what is left behind.
template <class Call>
Json attempt(Call call)
{
    return orThrows([&] {
        call();
        return Json::object();
    });
}

/// The variables of a script; each type has its own names.
class Registers
{
public:
    /// Default constructed at first use.
    template <class T>
    T& get(const Json& name)
    {
        std::any& held = _held[typeid(T).name() + (' ' + name.get<std::string>())];
        if (!held.has_value()) held = T();
        return *std::any_cast<T>(&held);
    }

private:
    std::map<std::string, std::any> _held;
};

/// Takes "in", returns "out".
using Operation = Json (*)(const Json& in);
/// Takes a step, returns what "out" holds for it: null for a call without result.
using Verb = std::function<Json(Registers& registers, const Json& step)>;

/// A verb that calls the function with the register of type T that the step names, then, if the
/// function takes them, the step and all registers. A function without result gives null.
template <class T, class Call>
Verb on(Call call)
{
    return [call](Registers& registers, const Json& step) -> Json {
        T& x = registers.get<T>(step[1]);
        const auto invoke = [&] {
            if constexpr (std::is_invocable_v<Call, T&>) {
                return call(x);
            } else if constexpr (std::is_invocable_v<Call, T&, const Json&>) {
                return call(x, step);
            } else {
                return call(x, step, registers);
            }
        };
        if constexpr (std::is_void_v<decltype(invoke())>) {
            invoke();
            return Json();
        } else {
            return invoke();
        }
    };
}

/// The verb [.., to, from] for registers of type T.
template <class T>
Verb copying()
{
    return on<T>(
        [](T& x, const Json& step, Registers& registers) { x = registers.get<T>(step[2]); });
}

/// A part of the library: what it takes to replay the recorded topics (files under vectors/).
struct Part
{
    std::vector<std::string> topics;
    std::map<std::string, Operation> operations;
    std::map<std::string, Verb> verbs;
};

Part namesAndPaths();
Part values();
Part objects();
Part contexts();

}  // namespace replay
