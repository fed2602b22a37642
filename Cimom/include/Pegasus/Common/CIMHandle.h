// What all handle classes of the library share.
#pragma once

#include <Pegasus/Common/Exception.h>

#include <memory>
#include <utility>

namespace Pegasus::detail
{

/// A counted reference to an object. Copies of a handle stand for the same object: a change made
/// through one shows through all. Every call on an uninitialized handle, isUninitialized() apart,
/// throws UninitializedObjectException.
template <class Object>
class Handle
{
public:
    Handle() = default;
    explicit Handle(std::shared_ptr<Object> object) : object_(std::move(object)) {}
    // No moves: the source of a move stays usable, as everywhere in this library.
    Handle(const Handle&) = default;
    Handle& operator=(const Handle&) = default;
    ~Handle() = default;

    Boolean isUninitialized() const { return !object_; }

    // For the object manager, which works on the objects themselves.
    Object& object() const
    {
        if (!object_) throwUninitialized();
        return *object_;
    }
    const std::shared_ptr<Object>& shared() const { return object_; }

private:
    std::shared_ptr<Object> object_;
};

}  // namespace Pegasus::detail
