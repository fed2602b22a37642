// Operations on contexts and response handlers.
#include "Conversions.h"

#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>

#include <memory>

using namespace Pegasus;

namespace replay
{

namespace
{

using R = Registers&;
using S = const Json&;

/// A container of the provider's own that counts how often it is cloned and destroyed.
class Probe : virtual public OperationContext::Container
{
public:
    Probe(const String& probeName, int probeValue) : value(probeValue), name_(probeName) {}
    String getName() const override { return name_; }
    OperationContext::Container* clone() const override
    {
        ++clones;
        return new Probe(*this);
    }
    void destroy() override
    {
        ++destroys;
        delete this;
    }

    static int clones;
    static int destroys;
    const int value;

private:
    String name_;
};

int Probe::clones = 0;
int Probe::destroys = 0;

/// Notes what a provider calls.
class Handler : public InstanceResponseHandler
{
public:
    void processing() override { log.push_back("processing"); }
    void complete() override { log.push_back("complete"); }
    void deliver(const CIMInstance& i) override
    {
        log.push_back({{"instance", describe(i.getClassName())}});
    }
    void deliver(const Array<CIMInstance>& all) override
    {
        log.push_back({{"instances", all.size()}});
    }
    OperationContext context() const { return getContext(); }

    Json log = Json::array();
};

/// The one handler of a script.
Handler& handlerOf(Registers& registers)
{
    return registers.get<Handler>("handler");
}

/// Calls `use` with the container described.
template <class Use>
void withContainer(const Json& from, Use use)
{
    if (from.contains("identity")) return use(IdentityContainer(text(from["identity"])));
    if (from.contains("timeout")) return use(TimeoutContainer(from["timeout"].get<Uint32>()));
    if (from.contains("snmp")) return use(SnmpTrapOidContainer(text(from["snmp"])));
    struct Destroy
    {
        void operator()(Probe* probe) const { probe->destroy(); }
    };
    const std::unique_ptr<Probe, Destroy> probe(new Probe(text(from["probe"]), from["value"]));
    use(*probe);
}

}  // namespace

Part contexts()
{
    using T = OperationContext;
    Part part;
    part.topics = {"context"};
    auto& verbs = part.verbs;
    verbs["ctx.new"] = on<T>([](T& x) { x = OperationContext(); });
    verbs["ctx.copy"] = copying<T>();
    verbs["ctx.clear"] = on<T>([](T& x) { x.clear(); });
    verbs["ctx.insert"] =
        on<T>([](T& x, S s) { withContainer(s[2], [&](const auto& c) { x.insert(c); }); });
    verbs["ctx.set"] =
        on<T>([](T& x, S s) { withContainer(s[2], [&](const auto& c) { x.set(c); }); });
    verbs["ctx.remove"] = on<T>([](T& x, S s) { x.remove(text(s[2])); });
    verbs["ctx.contains"] = on<T>([](T& x, S s) { return x.contains(text(s[2])); });
    verbs["ctx.getName"] = on<T>([](T& x, S s) { return describe(x.get(text(s[2])).getName()); });
    verbs["ctx.user"] = on<T>([](T& x) {
        const IdentityContainer identity = x.get(IdentityContainer::NAME);
        return describe(identity.getUserName());
    });
    verbs["ctx.userCast"] = on<T>([](T& x, S s) {
        const auto* identity = dynamic_cast<const IdentityContainer*>(&x.get(text(s[2])));
        return identity ? describe(identity->getUserName()) : Json();
    });
    verbs["ctx.identityFrom"] = on<T>(
        [](T& x, S s) { return describe(IdentityContainer(x.get(text(s[2]))).getUserName()); });
    verbs["ctx.timeout"] =
        on<T>([](T& x) { return TimeoutContainer(x.get(TimeoutContainer::NAME)).getTimeOut(); });
    verbs["ctx.probe"] = on<T>([](T& x, S s) {
        const auto* probe = dynamic_cast<const Probe*>(&x.get(text(s[2])));
        return probe ? Json(probe->value) : Json();
    });
    verbs["ctx.resetProbes"] = on<T>([](T&) { Probe::clones = Probe::destroys = 0; });
    verbs["ctx.probes"] = on<T>([](T&) {
        return Json{{"clones", Probe::clones}, {"destroys", Probe::destroys}};
    });

    verbs["handler.setContext"] = on<T>([](T& x, S, R r) { handlerOf(r).setContext(x); });
    verbs["handler.getContext"] = on<T>([](T& x, S, R r) { x = handlerOf(r).context(); });
    verbs["handler.deliver"] =
        on<CIMInstance>([](CIMInstance& x, S, R r) { handlerOf(r).deliver(x); });
    verbs["handler.processing"] = [](R r, S) { return handlerOf(r).processing(), Json(); };
    verbs["handler.complete"] = [](R r, S) { return handlerOf(r).complete(), Json(); };
    verbs["handler.log"] = [](R r, S) { return handlerOf(r).log; };
    return part;
}

}  // namespace replay
