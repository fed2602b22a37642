// What all handle classes of the library share.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

#include <memory>

namespace cimom
{
struct Rep;
struct HandleAccess;
}  // namespace cimom

namespace Pegasus::detail
{

/// A counted reference to a representation. Copies of a handle stand for the same object: a change
/// made through one shows through all. Every call on an uninitialized handle, isUninitialized()
/// apart, throws UninitializedObjectException.
///
/// Representations that come from a class repository are frozen: they are shared by everybody who
/// fetched them and never change. The first setter called through a handle to one gives that handle
/// a copy of its own. The handles that getProperty(), getQualifier() and the like return from a
/// frozen object do the same for themselves.
class PEGASUS_COMMON_LINKAGE Handle
{
public:
    Handle() = default;
    // No moves: the source of a move stays usable, as everywhere in this library.
    Handle(const Handle&) = default;
    Handle& operator=(const Handle&) = default;
    ~Handle() = default;

    Boolean isUninitialized() const { return !_rep; }

private:
    std::shared_ptr<cimom::Rep> _rep;
    friend struct cimom::HandleAccess;
};

}  // namespace Pegasus::detail
