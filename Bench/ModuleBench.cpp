// What each operation of each provider costs, beside a lower bound: the same results from nothing
// but the calls that the array's contract needs, that is the list query, the class, the
// skeleton, the trace lines, the properties and the path. Then what writing the replies costs
// beside the same lines from prepared strings, and what the model's own steps cost.
//
// Plain, it measures time. Under `valgrind --tool=callgrind --instr-atstart=no` it counts the
// instructions of one run of each row, into a dump that is named after the row.
#include "CimXml/Encode.h"
#include "Model/ObjectManager.h"
#include "Mof/MofCompiler.h"
#include "QBX_Frame.h"

#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <benchmark/benchmark.h>
#include <qbxapi.h>
#include <valgrind/callgrind.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

using namespace Pegasus;

extern "C" CIMProvider* PegasusCreateProvider(const String& name);

namespace
{

const CIMNamespaceName NAMESPACE("root/qbx");

/// The object manager behind the providers: the schema, and the path of the system's package.
class Classes : public cimom::ObjectManager
{
public:
    Classes()
    {
        _repository.addNamespace(NAMESPACE);
        cimom::compileMof(_repository, NAMESPACE, QBX_SCHEMA_DIR "/qbx.mof");
        current = this;
    }
    ~Classes() override { current = nullptr; }

    CIMClass getClass(const OperationContext&, const CIMNamespaceName& nameSpace,
                      const CIMName& className, const cimom::ClassView& view) override
    {
        return CIMClass(_repository.getClass(nameSpace, className, view));
    }
    CIMInstance getInstance(const OperationContext&, const CIMNamespaceName&, const CIMObjectPath&,
                            const cimom::InstanceView&) override
    {
        return CIMInstance();
    }
    Array<CIMInstance> enumerateInstances(const OperationContext&, const CIMNamespaceName&,
                                          const CIMName&, bool, const cimom::InstanceView&,
                                          cimom::PathForm) override
    {
        return Array<CIMInstance>();
    }
    Array<CIMObjectPath> enumerateInstanceNames(const OperationContext&, const CIMNamespaceName&,
                                                const CIMName&, cimom::PathForm) override
    {
        return Array<CIMObjectPath>(1, CIMObjectPath("QBX_SystemPackage.Tag=\"QBX-1000001\""));
    }

private:
    cimom::Repository _repository;
};

/// Keeps what is delivered, but a method's results.
struct Results : InstanceResponseHandler,
                 ObjectPathResponseHandler,
                 ObjectResponseHandler,
                 MethodResultResponseHandler
{
    Array<CIMInstance> instances;
    Array<CIMObjectPath> paths;
    Array<CIMObject> objects;
    void processing() override {}
    void complete() override {}
    void deliver(const CIMInstance& one) override { instances.append(one); }
    void deliver(const Array<CIMInstance>& all) override { instances.appendArray(all); }
    void deliver(const CIMObjectPath& one) override { paths.append(one); }
    void deliver(const Array<CIMObjectPath>& all) override { paths.appendArray(all); }
    void deliver(const CIMObject& one) override { objects.append(one); }
    void deliver(const Array<CIMObject>& all) override { objects.appendArray(all); }
    void deliver(const CIMValue&) override {}
    void deliverParamValue(const CIMParamValue&) override {}
    void deliverParamValue(const Array<CIMParamValue>&) override {}
};

// ---- The lower bound ----

using Maker = std::function<CIMValue()>;

/// Makes a value anew, as from a record.
template <class T>
Maker makerOf(const CIMValue& value)
{
    if (value.isArray()) {
        Array<T> all;
        value.get(all);
        return [all] { return CIMValue(Array<T>(all.getData(), all.size())); };
    }
    T one;
    value.get(one);
    return [one] { return CIMValue(one); };
}

/// A text is made from bytes.
Maker makerOfText(const CIMValue& value)
{
    String text;
    value.get(text);
    return [bytes = std::string(text.getCString())] {
        return CIMValue(String(bytes.data(), static_cast<Uint32>(bytes.size())));
    };
}

Maker makerOf(const CIMValue& value)
{
    switch (value.getType()) {
        case CIMTYPE_BOOLEAN:
            return makerOf<bool>(value);
        case CIMTYPE_UINT16:
            return makerOf<Uint16>(value);
        case CIMTYPE_UINT64:
            return makerOf<Uint64>(value);
        default:
            return value.isArray() ? makerOf<String>(value) : makerOfText(value);
    }
}

/// The name in memory of its own, as a provider's constants are.
/// The parts of a path, to make it anew.
struct PathParts
{
    explicit PathParts(const CIMObjectPath& path)
        : host(path.getHost()), className(path.getClassName()), keys(path.getKeyBindings())
    {
        for (Uint32 i = 0; i < keys.size(); ++i) {
            if (keys[i].getName() != "Tag" && keys[i].getName() != "DeviceID") continue;
            id = keys[i].getValue();
            idAt = i;
        }
        bytes = id.getCString();
    }
    /// With the identifier's text as it was made before.
    CIMObjectPath made() const { return made(id); }
    /// With the identifier's text made anew, as from a record.
    CIMObjectPath madeAnew() const
    {
        return made(String(bytes.data(), static_cast<Uint32>(bytes.size())));
    }
    CIMObjectPath made(const String& identifier) const
    {
        Array<CIMKeyBinding> again;
        for (Uint32 i = 0; i < keys.size(); ++i) {
            const String& value = i == idAt ? identifier : keys[i].getValue();
            again.append(CIMKeyBinding(keys[i].getName(), value, keys[i].getType()));
        }
        return CIMObjectPath(host, NAMESPACE, className, again);
    }
    String host, id;
    Uint32 idAt = PEG_NOT_FOUND;
    std::string bytes;
    CIMName className;
    Array<CIMKeyBinding> keys;
};

/// The parts of an instance that a provider delivered, to make it anew: where each property is, is
/// known.
struct InstanceParts
{
    InstanceParts(const CIMInstance& instance, const CIMInstance& skeleton)
        : path(instance.getPath())
    {
        for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
            const auto property = instance.getProperty(i);
            const CIMValue value = property.getValue();
            if (value == skeleton.getProperty(i).getValue()) continue;
            if (value.getType() == CIMTYPE_REFERENCE) {
                CIMObjectPath reference;
                value.get(reference);
                references.push_back({i, property.getName(), PathParts(reference)});
            } else {
                values.emplace_back(i, makerOf(value));
            }
        }
    }
    CIMInstance made(CIMClass cimClass, int traces) const
    {
        for (int i = 0; i < traces; ++i)
            log_message(4, "-->QBX_Common::_buildInstanceSkeleton()\n");
        CIMInstance instance = cimClass.buildInstance(true, true, CIMPropertyList());
        for (const auto& [position, maker] : values)
            instance.getProperty(position).setValue(maker());
        Array<CIMKeyBinding> keys;
        for (const Reference& each : references) {
            const CIMValue reference(each.path.madeAnew());
            instance.getProperty(each.position).setValue(reference);
            keys.append(CIMKeyBinding(each.name, reference));
        }
        instance.setPath(references.empty()
                             ? path.made()
                             : CIMObjectPath(path.host, NAMESPACE, path.className, keys));
        return instance;
    }
    struct Reference
    {
        Uint32 position;
        CIMName name;
        PathParts path;
    };
    PathParts path;
    std::vector<std::pair<Uint32, Maker>> values;  // by the position of the property
    std::vector<Reference> references;
};

// ---- The rows ----

/// A list query, its records freed.
template <class List>
std::function<void()> query(typename List::Query call)
{
    return [=] { List{call}; };
}

struct Subject
{
    const char* provider;
    const char* className;
    std::function<void()> list, namesList;
    int traces;                                   ///< trace lines of an instance
    bool isPerRecord = true;                      ///< the class is fetched for each record
    std::function<int(const char*)> locate = {};  ///< the lookups of Locate, by tag
};

/// What every request begins with, and the trace lines that it writes.
void begin(const OperationContext& context)
{
    for (int i = 0; i < 4; ++i)
        QBX_Frame::trace("--> QBX_MagazineProvider::enumerateInstances\n");
    QBX_Frame::openApi(context);
}

/// Registers a row: an operation, run once before it is measured.
void addRow(const std::string& name, std::function<void()> operation)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        operation();
        CALLGRIND_START_INSTRUMENTATION;
        for (auto _ : state) {
            CALLGRIND_ZERO_STATS;
            operation();
            CALLGRIND_DUMP_STATS_AT(name.c_str());
        }
        CALLGRIND_STOP_INSTRUMENTATION;
    });
}

/// Registers an operation that is measured for so many objects of a class, and its bound.
template <class Module, class Bound>
void addPair(const std::string& operation, const char* className, Uint32 count, Module module,
             Bound bound)
{
    const std::string row = operation + "/" + className + "/" + std::to_string(count);
    addRow(row + "/module", [=] { module(Results()); });
    addRow(row + "/bound", [=] { bound(Results()); });
}

/// A reply with these instances, and the same lines from prepared strings.
void addEncoding(const char* className, const Array<CIMInstance>& instances)
{
    const auto encode = [=](Results) {
        std::string text;
        cimom::xml::Encoder encoder(text);
        for (Uint32 i = 0; i < instances.size(); ++i) {
            encoder.writeInstanceName(instances[i].getPath());
            encoder.writeListedInstance(instances[i].object());
        }
        return text;
    };
    std::istringstream reply(encode(Results()));
    std::vector<std::string> lines;
    for (std::string line; std::getline(reply, line);)
        lines.push_back(line + "\n");
    addPair("encoding", className, instances.size(), encode, [=](Results) {
        std::string text;
        for (const std::string& line : lines)
            text += line;
        return text;
    });
}

/// The traversals of an association from its end that is most (the system, or a cage).
void addTraversals(const Subject& subject, const OperationContext& context, CIMProvider* provider,
                   const CIMObjectPath& source, const CIMInstance& skeleton)
{
    auto* const associations = dynamic_cast<CIMAssociationProvider*>(provider);
    const CIMName name(subject.className);
    Results found;
    associations->references(context, source, name, String(), false, false, CIMPropertyList(),
                             found);
    std::vector<InstanceParts> parts;
    for (Uint32 i = 0; i < found.objects.size(); ++i)
        parts.emplace_back(CIMInstance(found.objects[i]), skeleton);
    addPair(
        "references", subject.className, found.objects.size(),
        [=](Results to) {
            associations->references(context, source, name, String(), false, false,
                                     CIMPropertyList(), to);
        },
        [=](Results to) {
            begin(context);
            subject.list();
            for (const InstanceParts& each : parts) {
                const CIMClass cimClass = CIMOMHandle().getClass(
                    OperationContext(), NAMESPACE, name, false, false, false, CIMPropertyList());
                to.deliver(CIMObject(each.made(cimClass, subject.traces)));
            }
        });
    Results named;
    associations->associatorNames(context, source, name, CIMName(), String(), String(), named);
    std::vector<PathParts> ends;
    for (Uint32 i = 0; i < named.paths.size(); ++i)
        ends.emplace_back(named.paths[i]);
    addPair(
        "associatorNames", subject.className, named.paths.size(),
        [=](Results to) {
            associations->associatorNames(context, source, name, CIMName(), String(), String(), to);
        },
        [=](Results to) {
            begin(context);
            subject.list();
            for (const PathParts& each : ends)
                to.deliver(each.madeAnew());
        });
}

/// Steps of the model, by themselves.
void addModel(const CIMObjectPath& path, const CIMClass& cimClass)
{
    const std::string bytes = "cage12-sensor3";
    const String text(bytes.c_str());
    const String pathText = path.toString();
    const CIMName name("CurrentReading"), same(String("CURRENTREADING"));
    CIMInstance instance = cimClass.buildInstance(false, false, CIMPropertyList());
    const CIMValue value(Uint16(7));
    const auto add = [](const std::string& step, auto once) {
        addRow("model/" + step, [=]() mutable { benchmark::DoNotOptimize(once()); });
    };
    add("string from UTF-8", [=] { return String(bytes.data(), Uint32(bytes.size())); });
    add("string copied", [=] { return String(text); });
    add("names compared", [=] { return name.equal(same); });
    add("value made", [=] { return CIMValue(Uint16(7)); });
    add("property found", [=] { return instance.findProperty(name); });
    add("property set", [=]() mutable {
        instance.getProperty(instance.findProperty(name)).setValue(value);
        return value;
    });
    add("path read", [=] { return CIMObjectPath(pathText); });
    add("path written", [=] { return path.toString(); });
    add("paths compared", [=] { return path.identical(CIMObjectPath(path)); });
    add("instance built", [=] { return cimClass.buildInstance(false, false, CIMPropertyList()); });
}

/// The operations of one provider, each beside its bound.
void addRows(const Subject& subject, const OperationContext& context)
{
    CIMProvider* const created = PegasusCreateProvider(subject.provider);
    CIMOMHandle cimom;
    created->initialize(cimom);
    auto* const provider = dynamic_cast<CIMInstanceProvider*>(created);
    const CIMName name(subject.className);
    const CIMObjectPath all(String(), NAMESPACE, name);
    const auto getClass = [=] {
        return CIMOMHandle(cimom).getClass(OperationContext(), NAMESPACE, name, false, false, false,
                                           CIMPropertyList());
    };

    Results found;
    provider->enumerateInstances(context, all, false, false, CIMPropertyList(), found);
    const Uint32 count = found.instances.size();
    const CIMInstance skeleton = getClass().buildInstance(true, true, CIMPropertyList());
    std::vector<InstanceParts> parts;
    for (Uint32 i = 0; i < count; ++i)
        parts.emplace_back(found.instances[i], skeleton);
    const CIMObjectPath last = found.instances[count - 1].getPath();
    const auto built = [=](const std::function<void()>& list) {
        begin(context);
        list();
        Array<CIMInstance> instances;
        const CIMClass once = subject.isPerRecord ? CIMClass() : getClass();
        for (const InstanceParts& each : parts)
            instances.append(each.made(subject.isPerRecord ? getClass() : once, subject.traces));
        return instances;
    };

    const auto add = [&](const std::string& operation, auto module, auto bound) {
        addPair(operation, subject.className, count, module, bound);
    };
    addEncoding(subject.className, found.instances);
    add(
        "enumerateInstances",
        [=](Results to) {
            provider->enumerateInstances(context, all, false, false, CIMPropertyList(), to);
        },
        [=](Results to) { to.deliver(built(subject.list)); });
    add(
        "getInstance",
        [=](Results to) {
            provider->getInstance(context, last, false, false, CIMPropertyList(), to);
        },
        [=](Results to) { to.deliver(built(subject.list)[0]); });
    if (subject.locate) {
        auto* const methods = dynamic_cast<CIMMethodProvider*>(created);
        Array<CIMParamValue> in(1, CIMParamValue("LocateTimer", CIMValue(Uint16(60))));
        in.append(CIMParamValue("Port", CIMValue(Uint16(1))));
        addPair(
            "Locate", subject.className, 1,
            [=](Results to) { methods->invokeMethod(context, last, CIMName("Locate"), in, to); },
            [=, tag = std::string(PathParts(last).bytes)](Results) {
                begin(context);
                api_authorizeCIMUser("admin", (tag + ".locate").c_str());
                QBX_Records::underSemaphore([&] { return subject.locate(tag.c_str()); });
            });
    }
    if (!subject.namesList) {  // an association's names are those of all its instances
        const CIMInstance first = found.instances[0];
        CIMObjectPath source;
        for (Uint32 i = 0; i < first.getPropertyCount(); ++i) {
            CIMObjectPath end;
            if (first.getProperty(i).getType() != CIMTYPE_REFERENCE) continue;
            first.getProperty(i).getValue().get(end);
            const String& ending = end.getClassName().getString();
            if (source.getClassName().isNull() || ending == "QBX_SystemPackage" ||
                ending.subString(0, 13) == "QBX_DriveCage")
                source = end;
            if (ending == "QBX_SystemPackage") break;
        }
        return addTraversals(subject, context, created, source, skeleton);
    }
    add(
        "enumerateInstanceNames",
        [=](Results to) { provider->enumerateInstanceNames(context, all, to); },
        [=](Results to) {
            Array<CIMObjectPath> paths;
            begin(context);
            subject.namesList();
            for (const InstanceParts& each : parts)
                paths.append(each.path.madeAnew());
            to.deliver(paths);
        });
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const Classes classes;
    OperationContext context;
    context.insert(IdentityContainer(String("admin")));
    const auto cages = query<QBX_Records::CageList>(api_getCages_Cached);
    const auto cagesNoMfg = query<QBX_Records::CageList>(api_getCagesNoMfg_Cached);
    const auto cagesPS = query<QBX_Records::CagePSList>(api_getCagesPS_Cached);
    const auto sensors = [=] { cages(), cagesPS(); };
    const auto magazines = query<QBX_Records::MagazineList>(api_getMagazines_Cached);
    const auto magazinesNoMfg = query<QBX_Records::MagazineList>(api_getMagazinesNoMfg_Cached);
    const auto cards = query<QBX_Records::FCALList>(api_getFCALs_Cached);
    const auto cardsNoMfg = query<QBX_Records::FCALList>(api_getFCALsNoMfg_Cached);
    const auto locateCage = [](const char* tag) {
        api_CageHandle_t cage = {};
        return api_findCageName_Cached(tag, &cage) + api_locateCage(&cage, 60);
    };
    const auto locateMagazine = [](const char* tag) {
        api_MagazineIDs_t ids = {};
        const int found = api_findMagazineIDs(tag, &ids);
        return found + api_locateMagazine(ids.cageName, ids.magazine, 60);
    };
    const auto locateCard = [](const char* tag) {
        char cage[65] = "";
        return api_findCageNameForFCAL(tag, cage) + api_locateFCALPort(cage, 1, 60);
    };
    const Subject subjects[] = {
        {"QBX_DriveCageProvider", "QBX_DriveCageDC2Family", cages, cagesNoMfg, 2, true, locateCage},
        {"QBX_MagazineProvider", "QBX_Magazine", magazines, magazinesNoMfg, 4, true,
         locateMagazine},
        {"QBX_FCALCardProvider", "QBX_CageInterfaceCardDC2Family", cards, cardsNoMfg, 2, true,
         locateCard},
        {"QBX_CageSensorProvider", "QBX_CageSensor", sensors, sensors, 4, false},
        {"QBX_MagazineInDriveCageProvider", "QBX_MagazineInDriveCage", magazinesNoMfg, {}, 2},
        {"QBX_FCALCardInDriveCageProvider", "QBX_InterfaceCardInDriveCage", cardsNoMfg, {}, 2},
        {"QBX_SensorInDriveCageProvider", "QBX_SensorInDriveCage", cages, {}, 2},
        {"QBX_SysCageContainerProvider", "QBX_SysCageContainer", cagesNoMfg, {}, 2},
    };
    for (const Subject& subject : subjects)
        addRows(subject, context);
    const CIMName sensor("QBX_CageSensor");
    addModel(CIMObjectPath("//host/root/qbx:QBX_CageSensor.DeviceID=\"a\",SystemName=\"b\""),
             CIMOMHandle().getClass(context, NAMESPACE, sensor, false, false, false, {}));
    benchmark::RunSpecifiedBenchmarks();
}
