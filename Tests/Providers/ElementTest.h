// What the tests of the four providers of elements share.
#pragma once

#include "Providers.h"

/// Manufacturing data of a record, and how an instance shows it.
inline const std::string MFG =
    R"("mfg": {"vendor": "the vendor", "model": "the model", "serial": "the serial"})";
inline const Texts MADE = {"Manufacturer=the vendor", "Model=the model", "SerialNumber=the serial"};

class ElementTest : public ProviderTest
{
protected:
    /// Of this array file the provider makes one instance of the class, with these properties and
    /// no others.
    void expectInstance(const std::string& providerName, const std::string& elements,
                        const std::string& className, const Texts& properties)
    {
        start(providerName, elements);
        EXPECT_EQ(read("enumerateInstances", pathOf(className)), "nothing");
        ASSERT_EQ(got.instances.size(), 1u);
        const CIMInstance& instance = got.instances[0];
        EXPECT_LIST(propertiesOf(instance),
                    Texts{properties, "CreationClassName=" + className}.sorted());
        EXPECT_LIST(got.paths, {str(element(className, valueOf(instance, "Tag")))});
    }
};

/// An array file's list with one element of each cage type, in whose text $ stands for the type.
inline std::string oneOfEachType(const std::string& list, const std::string& element)
{
    std::string elements;
    for (const char* type : {"0", "1", "2", "3", "4", "5", "6", "-1"}) {
        elements += elements.empty() ? "" : ", ";
        for (const char each : element)
            elements += each == '$' ? type : std::string(1, each);
    }
    return "\"" + list + "\": [" + elements + "]";
}

inline CIMParamValue timer(Uint16 seconds)
{
    return uint16("LocateTimer", seconds);
}
inline const CIMParamValue NULL_TIMER = null("LocateTimer", CIMTYPE_UINT16);
inline const CIMParamValue PORT_A = parameter("IsPortA", true);
inline const CIMParamValue NULL_PORT_A = null("IsPortA", CIMTYPE_BOOLEAN);

/// A method call, of the element in ONE_OF_EACH. The array's library carries out nothing: every
/// action fails with -7, which is the result.
struct MethodRow : Row
{
    const char* method;
    Parameters in;
    /// The action that is called, what is thrown ("4 ..."), or nothing.
    std::string outcome;
};

class MethodTest : public RowTest<MethodRow, ProviderTest>
{
protected:
    std::string elements = ONE_OF_EACH;

    /// `lookup` is the call that finds the element. Of several keys "Tag" the last one counts.
    void expectOutcome(const std::string& providerName, const CIMObjectPath& object,
                       const std::string& lookup)
    {
        start(providerName, elements);
        for (const char* action : {"api_locateCage", "api_upgradeCage", "api_setMagazineLoop",
                                   "api_locateMagazine", "api_locateFCALPort"})
            array.fail(action, -7);
        const std::string className = str(object.getClassName());
        const std::string tag = str(object.getKeyBindings()[1].getValue());
        const bool isThrown = row.outcome.substr(0, 1) == "4";
        EXPECT_EQ(invoke(pathOf(className, {{"Tag", "first"}, {"TAG", tag}}), row.method, row.in),
                  isThrown ? row.outcome : "nothing");
        const std::string key = cased(className + "." + row.method, std::tolower);
        Texts calls = {OPEN, "api_authorizeCIMUser(\"joe\", \"" + key + "\") = 0",
                       underSemaphore(lookup)};
        if (row.outcome.empty()) calls = {calls, delivered("sint32 0")};
        if (row.outcome.substr(0, 1) == "a")
            calls = {calls, underSemaphore(row.outcome + " = -7"), delivered("sint32 -7")};
        EXPECT_LIST(array.calls(), calls);
        const std::string called = "className = " + className + ", methodName = " + row.method;
        EXPECT_EQ(events().front(), "4: -->P::invokeMethod()\n\t " + called + "\n");
        EXPECT_EQ(events().back() == "4: <--P::invokeMethod()\n", !isThrown);
    }
};
