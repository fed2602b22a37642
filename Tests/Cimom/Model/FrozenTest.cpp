// What is frozen never changes, whoever has a handle on it.
#include "Model/Frozen.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

using namespace Pegasus;

namespace
{

CIMName name(const char* text)
{
    return CIMName(text);
}

CIMValue text(const char* value)
{
    return CIMValue(String(value));
}

CIMQualifier qualifier(const char* qualifierName)
{
    return CIMQualifier(name(qualifierName), CIMValue(true));
}

/// A class with one of everything: qualifiers on the class, a key, a method and its parameter.
CIMClass sampleClass()
{
    CIMProperty key(name("Tag"), text("none"), 0, CIMName(), name("Base"), true);
    key.addQualifier(qualifier("Key"));
    CIMParameter parameter(name("Seconds"), CIMTYPE_UINT16);
    parameter.addQualifier(qualifier("In"));
    CIMMethod method(name("Locate"), CIMTYPE_UINT32, name("Base"), true);
    method.addParameter(parameter).addQualifier(qualifier("Implemented"));
    CIMClass sample(name("Sample"), name("Base"));
    sample.addQualifier(qualifier("Association")).addQualifier(qualifier("Abstract"));
    sample.addProperty(key).addProperty(CIMProperty(name("Size"), CIMValue(Uint32(7))));
    sample.addMethod(method);
    return sample;
}

CIMClass frozenClass()
{
    CIMClass sample = sampleClass();
    cimom::freeze(sample);
    return sample;
}

struct Mutation
{
    const char* what;
    std::function<void(CIMClass&)> apply;
};

const Mutation mutations[] = {
    {"addProperty", [](CIMClass& c) { c.addProperty(CIMProperty(name("New"), CIMValue(true))); }},
    {"removeProperty", [](CIMClass& c) { c.removeProperty(0); }},
    {"addQualifier", [](CIMClass& c) { c.addQualifier(qualifier("New")); }},
    {"removeQualifier", [](CIMClass& c) { c.removeQualifier(0); }},
    {"addMethod", [](CIMClass& c) { c.addMethod(CIMMethod(name("New"), CIMTYPE_UINT8)); }},
    {"removeMethod", [](CIMClass& c) { c.removeMethod(0); }},
    {"setSuperClassName", [](CIMClass& c) { c.setSuperClassName(name("Other")); }},
    {"setPath", [](CIMClass& c) { c.setPath(CIMObjectPath(String("root/x:SAMPLE"))); }},
    {"qualifier.setValue", [](CIMClass& c) { c.getQualifier(0).setValue(text("x")); }},
    {"qualifier.setFlavor",
     [](CIMClass& c) { c.getQualifier(0).setFlavor(CIMFlavor::TOINSTANCE); }},
    {"qualifier.setPropagated", [](CIMClass& c) { c.getQualifier(0).setPropagated(true); }},
    {"property.setValue", [](CIMClass& c) { c.getProperty(0).setValue(text("x")); }},
    {"property.setName", [](CIMClass& c) { c.getProperty(0).setName(name("TAG")); }},
    {"property.setClassOrigin",
     [](CIMClass& c) { c.getProperty(0).setClassOrigin(name("Other")); }},
    {"property.setPropagated", [](CIMClass& c) { c.getProperty(0).setPropagated(false); }},
    {"property.addQualifier", [](CIMClass& c) { c.getProperty(0).addQualifier(qualifier("New")); }},
    {"property.removeQualifier", [](CIMClass& c) { c.getProperty(0).removeQualifier(0); }},
    {"property.qualifier.setValue",
     [](CIMClass& c) { c.getProperty(0).getQualifier(0).setValue(text("x")); }},
    {"method.setType", [](CIMClass& c) { c.getMethod(0).setType(CIMTYPE_UINT8); }},
    {"method.setClassOrigin", [](CIMClass& c) { c.getMethod(0).setClassOrigin(name("Other")); }},
    {"method.setPropagated", [](CIMClass& c) { c.getMethod(0).setPropagated(false); }},
    {"method.addParameter",
     [](CIMClass& c) { c.getMethod(0).addParameter(CIMParameter(name("P"), CIMTYPE_UINT8)); }},
    {"method.removeParameter", [](CIMClass& c) { c.getMethod(0).removeParameter(0); }},
    {"method.removeQualifier", [](CIMClass& c) { c.getMethod(0).removeQualifier(0); }},
    {"parameter.addQualifier",
     [](CIMClass& c) { c.getMethod(0).getParameter(0).addQualifier(qualifier("New")); }},
    {"parameter.qualifier.unsetFlavor",
     [](CIMClass& c) {
         c.getMethod(0).getParameter(0).getQualifier(0).setFlavor(CIMFlavor::TRANSLATABLE);
     }},
    {"CIMObject.addProperty",
     [](CIMClass& c) { CIMObject(c).addProperty(CIMProperty(name("New"), CIMValue(true))); }},
    {"CIMObject.instanceFilter",
     [](CIMClass& c) {
         CIMObject(c).instanceFilter(false, false, CIMPropertyList(Array<CIMName>()));
     }},
};

/// Both for identical(), which ignores the spelling of names, and for the text of the names.
std::string describe(const CIMConstClass& c)
{
    std::string all;
    const auto add = [&](const CIMName& n) {
        all += std::string(n.getString().getCString()) + " ";
    };
    add(c.getClassName());
    add(c.getSuperClassName());
    for (Uint32 i = 0; i < c.getPropertyCount(); ++i)
        add(c.getProperty(i).getName());
    for (Uint32 i = 0; i < c.getMethodCount(); ++i)
        add(c.getMethod(i).getName());
    return all;
}

TEST(Frozen, NoSetterReachesAnotherFetchedCopy)
{
    for (const Mutation& mutation : mutations) {
        SCOPED_TRACE(mutation.what);
        const CIMClass stored = frozenClass();
        CIMClass fetched = stored;
        mutation.apply(fetched);
        EXPECT_TRUE(stored.identical(sampleClass()));
        EXPECT_EQ(describe(sampleClass()), describe(stored));
    }
}

// The battery above proves nothing for a mutation that changes nothing.
TEST(Frozen, EverySetterOfTheBatteryChangesAClassThatIsNotFrozen)
{
    for (const Mutation& mutation : mutations) {
        SCOPED_TRACE(mutation.what);
        CIMClass plain = sampleClass();
        mutation.apply(plain);
        EXPECT_TRUE(!plain.identical(sampleClass()) || describe(plain) != describe(sampleClass()));
    }
}

TEST(Frozen, TheHandleThatChangesSeesItsChange)
{
    CIMClass fetched = frozenClass();
    fetched.addProperty(CIMProperty(name("New"), CIMValue(true))).removeProperty(0);
    EXPECT_EQ(1U, fetched.findProperty(name("New")));
    CIMClass alias = fetched;  // no longer frozen: handles alias again
    alias.getProperty(1).setValue(CIMValue(false));
    Boolean value = true;
    fetched.getProperty(1).getValue().get(value);
    EXPECT_FALSE(value);

    CIMProperty property = frozenClass().getProperty(0);
    property.setValue(text("changed"));
    property.addQualifier(qualifier("New"));
    EXPECT_EQ(String("changed"), property.getValue().toString());
    EXPECT_EQ(2U, property.getQualifierCount());
}

TEST(Frozen, FreezingLeavesOtherHandlesAlone)
{
    CIMClass mine = sampleClass();
    CIMClass stored = mine;
    cimom::freeze(stored);
    mine.getProperty(1).setValue(CIMValue(Uint32(8)));
    EXPECT_EQ(String("8"), mine.getProperty(1).getValue().toString());
    EXPECT_EQ(String("7"), stored.getProperty(1).getValue().toString());
}

TEST(Frozen, ACloneIsFree)
{
    CIMClass clone = frozenClass().clone();
    CIMClass alias = clone;
    alias.getMethod(0).getParameter(0).setName(name("SECONDS"));
    EXPECT_EQ(String("SECONDS"), clone.getMethod(0).getParameter(0).getName().getString());
}

TEST(Frozen, AnInstanceTakesOverFrozenElementsAsItsOwn)
{
    const CIMClass stored = frozenClass();
    CIMClass fetched = stored;
    CIMInstance instance(name("Sample"));
    instance.addProperty(fetched.getProperty(0)).addQualifier(fetched.getQualifier(0));
    instance.getProperty(0).setValue(text("changed"));
    instance.getQualifier(0).setValue(CIMValue(false));
    EXPECT_EQ(String("changed"), instance.getProperty(0).getValue().toString());
    EXPECT_EQ(String("FALSE"), instance.getQualifier(0).getValue().toString());

    CIMInstance built = fetched.buildInstance(true, true, CIMPropertyList());
    built.getProperty(0).getQualifier(0).setValue(CIMValue(false));
    built.getProperty(0).setValue(text("built"));
    EXPECT_EQ(String("built"), built.getProperty(0).getValue().toString());
    EXPECT_TRUE(stored.identical(sampleClass()));
}

TEST(Frozen, AnElementInAFrozenContainerKeepsItsName)
{
    CIMClass fetched = frozenClass();
    CIMProperty property = fetched.getProperty(0);
    EXPECT_THROW(property.setName(name("Other")), Exception);
    EXPECT_EQ(String("Tag"), property.getName().getString());
}

TEST(Frozen, FetchingAndReadingCopiesNothing)
{
    const CIMClass stored = frozenClass();
    CIMClass fetched = stored;
    EXPECT_EQ(&stored.getPath(), &fetched.getPath());
    EXPECT_EQ(&stored.getProperty(0).getValue(), &fetched.getProperty(0).getValue());
    cimom::freeze(fetched);
    EXPECT_EQ(&stored.getPath(), &fetched.getPath());
}

TEST(Frozen, AQualifierDeclarationToo)
{
    CIMQualifierDecl stored(name("Key"), CIMValue(false), CIMScope::PROPERTY);
    cimom::freeze(stored);
    CIMQualifierDecl fetched = stored;
    fetched.setValue(CIMValue(true));
    EXPECT_EQ(String("FALSE"), stored.getValue().toString());
    EXPECT_EQ(String("TRUE"), fetched.getValue().toString());
}

TEST(Frozen, AnUninitializedHandleIsRefused)
{
    CIMClass none;
    EXPECT_THROW(cimom::freeze(none), UninitializedObjectException);
}

TEST(Frozen, ThreadsReadAndChangeTheirOwn)
{
    const CIMClass stored = frozenClass();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&stored] {
            for (int round = 0; round < 50; ++round) {
                for (const Mutation& mutation : mutations) {
                    CIMClass fetched = stored;
                    EXPECT_TRUE(fetched.hasKeys());
                    EXPECT_EQ(
                        2U,
                        fetched.buildInstance(true, true, CIMPropertyList()).getPropertyCount());
                    mutation.apply(fetched);
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(stored.identical(sampleClass()));
}

}  // namespace
