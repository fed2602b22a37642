// Operations on instances, classes and what they hold.
#include "Conversions.h"

using namespace Pegasus;

namespace replay
{

Part objects()
{
    using Instance = CIMInstance;
    Part part;
    part.verbs = {
        {"inst.new", on<Instance>([](Instance& x, const Json& s) { x = instance(s[2]); })},
        {"inst.add",
         on<Instance>([](Instance& x, const Json& s) { x.addProperty(property(s[2])); })},
        {"inst.names", on<Instance>([](Instance& x) {
             return listOf(x, x.getPropertyCount(), [](const Instance& i, Uint32 n) {
                 return describe(i.getProperty(n).getName());
             });
         })},
        {"obj.fromInst", on<CIMObject>([](CIMObject& x, const Json& s, Registers& r) {
             x = CIMObject(r.get<Instance>(s[2]));
         })},
    };
    return part;
}

}  // namespace replay
