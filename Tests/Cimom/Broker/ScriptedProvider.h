// A provider for tests: it notes every call and does what the test's script says.
#pragma once

#include "Model/Elements.h"
#include "Model/Text.h"

#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace scripted
{

using namespace Pegasus;

/// What all scripted providers of the process do, and what they were asked. A script is a word of
/// steps: p processing, d deliver, D deliver an array, u deliver something uninitialized, o deliver
/// an output parameter, c complete, t call `fault`. Methods deliver the number of the step.
struct Stage
{
    /// By operation and class ("EI/T_Leaf"), or by operation alone; "pdc" when there is none.
    std::map<std::string, std::string> scripts;
    /// What step d delivers for a class, all of it; CLASS.Id=1 when there is nothing.
    std::map<std::string, std::vector<CIMInstance>> instances;
    /// Throws whatever the test wants thrown.
    std::function<void()> fault;
    /// "create NAME", "initialize NAME", "terminate NAME", "NAME OPERATION ARGUMENTS by USER".
    std::vector<std::string> notes;
    /// Called with every line when it has been noted.
    std::function<void(const std::string& line)> onNote;
};

/// Assign {} to begin anew.
extern Stage stage;

/// The factory; "Missing" gives no provider, "Bare" one without operations.
CIMProvider* create(const String& providerName);

/// Arguments and results as texts.
struct Text
{
    static std::string of(const String& text) { return cimom::toUtf8(text); }
    static std::string of(const CIMName& name) { return of(name.getString()); }
    static std::string of(bool flag) { return flag ? "1" : "0"; }
    static std::string of(const CIMObjectPath& path) { return cimom::toUtf8(path.toString()); }
    /// "type=value"
    static std::string of(const CIMValue& value);
    static std::string of(const CIMParamValue& parameter);
    /// "PATH{Name:type=value ...}", # behind path and names where there are qualifiers, @ behind
    /// names with an origin.
    static std::string of(const CIMInstance& instance);
    /// "[ITEM ITEM ...]", or "all" for a null property list.
    template <class List, class Item = decltype(std::declval<const List&>()[0])>
    static std::string of(const List& list)
    {
        if constexpr (std::is_same_v<List, CIMPropertyList>)
            if (list.isNull()) return "all";
        std::string line;
        for (Uint32 i = 0; i < list.size(); ++i)
            line += (i == 0 ? "" : " ") + of(list[i]);
        return "[" + line + "]";
    }
};

}  // namespace scripted
