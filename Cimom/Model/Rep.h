// The representations behind the handle classes of the library.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMQualifierDecl.h>
#include <Pegasus/Common/Exception.h>

#include <Pegasus/Common/MessageLoader.h>

#include <Pegasus/Common/InternalException.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

namespace cimom
{

using Pegasus::Uint32;

/// What a handle refers to. A frozen representation, with all it holds, never changes again.
/// Copying one, which clone() does, copies everything it holds and thaws the copy.
struct Rep
{
    Rep() = default;
    Rep(const Rep&) {}
    Rep& operator=(const Rep&) = delete;
    virtual ~Rep() = default;
    virtual std::shared_ptr<Rep> clone() const = 0;
    virtual void freeze() { frozen = true; }

    bool frozen = false;
};

/// The way from a handle to its representation.
struct HandleAccess
{
    static std::shared_ptr<Rep>& rep(Pegasus::detail::Handle& handle) { return handle._rep; }
    static const std::shared_ptr<Rep>& rep(const Pegasus::detail::Handle& handle)
    {
        return handle._rep;
    }
};

/// Null for an uninitialized handle.
template <class HandleClass>
auto& representation(HandleClass& handle)
{
    return HandleAccess::rep(handle);
}

/// What the handle refers to. Throws UninitializedObjectException.
template <class T>
const T& read(const Pegasus::detail::Handle& handle)
{
    if (!representation(handle)) throw Pegasus::UninitializedObjectException();
    return static_cast<const T&>(*representation(handle));
}

/// What the handle refers to, to be changed: a handle on a frozen representation gets a copy of its
/// own first. Throws UninitializedObjectException.
template <class T>
T& write(Pegasus::detail::Handle& handle)
{
    if (read<Rep>(handle).frozen) representation(handle) = representation(handle)->clone();
    return static_cast<T&>(*representation(handle));
}

/// A handle on a representation.
template <class HandleClass>
HandleClass make(std::shared_ptr<Rep> rep)
{
    HandleClass handle;
    representation(handle) = std::move(rep);
    return handle;
}

/// An element that has a name among others of its kind.
struct Named
{
    /// Throws UninitializedObjectException when the name is null.
    explicit Named(const Pegasus::CIMName& elementName);
    Named(const Named& other) : name(other.name) {}
    Named& operator=(const Named&) = delete;
    /// Throws UninitializedObjectException for a null name, Exception for another name (in more
    /// than case) while the element sits in a container; `kind` is for the text.
    void checkRename(const Pegasus::CIMName& newName, const char* kind) const;

    Pegasus::CIMName name;
    /// How many containers hold the element.
    std::atomic<unsigned> owners{0};
};

/// Gives the handle's element another name; see Named::checkRename.
template <class T>
void rename(Pegasus::detail::Handle& handle, const Pegasus::CIMName& newName)
{
    read<T>(handle).checkRename(newName, T::kind);
    write<T>(handle).name = newName;
}

[[noreturn]] void throwAlreadyExists(const char* kind, const Pegasus::CIMName& name);

/// The elements of one kind in a container, in order of addition, shared with the handles on them.
/// Copying the list copies the elements.
template <class T>
class ElementList
{
public:
    ElementList() = default;
    ElementList(const ElementList& other)
    {
        elements_.reserve(other.elements_.size());
        for (const auto& element : other.elements_)
            push(std::make_shared<T>(*element));
    }
    ElementList& operator=(const ElementList&) = delete;
    ~ElementList() { clear(); }

    auto begin() const { return elements_.begin(); }
    auto end() const { return elements_.end(); }
    Uint32 size() const { return static_cast<Uint32>(elements_.size()); }

    /// Throws IndexOutOfBoundsException.
    const std::shared_ptr<T>& at(Uint32 index) const
    {
        if (index >= size()) throw Pegasus::IndexOutOfBoundsException();
        return elements_[index];
    }

    /// PEG_NOT_FOUND when there is none of that name.
    Uint32 find(const Pegasus::CIMName& name) const
    {
        for (Uint32 i = 0; i < size(); ++i) {
            if (elements_[i]->name.equal(name)) return i;
        }
        return PEG_NOT_FOUND;
    }

    /// Throws AlreadyExistsException, TooManyElementsException.
    void checkNew(const T& element) const
    {
        if (find(element.name) != PEG_NOT_FOUND) throwAlreadyExists(T::kind, element.name);
        if (size() >= maxElements) throw Pegasus::TooManyElementsException();
    }

    /// Shares the handle's element, or takes a copy of a frozen one, so that what sits in a
    /// container that can change can change too. Throws UninitializedObjectException and as
    /// checkNew.
    void add(const Pegasus::detail::Handle& handle)
    {
        const T& element = read<T>(handle);
        checkNew(element);
        push(
            std::static_pointer_cast<T>(element.frozen ? element.clone() : representation(handle)));
    }

    /// Throws IndexOutOfBoundsException.
    void remove(Uint32 index)
    {
        --at(index)->owners;
        elements_.erase(elements_.begin() + index);
    }

    /// Keeps the elements that `keep` says true for.
    template <class Predicate>
    void retain(Predicate keep)
    {
        for (Uint32 i = size(); i-- > 0;) {
            if (!keep(*elements_[i])) remove(i);
        }
    }

    void clear()
    {
        for (const auto& element : elements_)
            --element->owners;
        elements_.clear();
    }

    void freeze()
    {
        for (const auto& element : elements_)
            element->freeze();
    }

private:
    static constexpr Uint32 maxElements = 1000;

    void push(std::shared_ptr<T> element)
    {
        elements_.push_back(std::move(element));
        ++elements_.back()->owners;
    }

    std::vector<std::shared_ptr<T>> elements_;
};

struct QualifierRep final : Rep, Named
{
    static constexpr const char* kind = "qualifier";
    explicit QualifierRep(const Pegasus::CIMName& elementName) : Named(elementName) {}
    std::shared_ptr<Rep> clone() const override { return std::make_shared<QualifierRep>(*this); }

    Pegasus::CIMValue value;
    Pegasus::CIMFlavor flavor;
    bool propagated = false;
};

struct QualifierDeclRep final : Rep, Named
{
    static constexpr const char* kind = "qualifier declaration";
    explicit QualifierDeclRep(const Pegasus::CIMName& elementName) : Named(elementName) {}
    std::shared_ptr<Rep> clone() const override
    {
        return std::make_shared<QualifierDeclRep>(*this);
    }

    Pegasus::CIMValue value;
    Pegasus::CIMScope scope;
    Pegasus::CIMFlavor flavor;
    Uint32 arraySize = 0;
};

/// An element that carries qualifiers.
struct QualifiedRep : Rep
{
    void freeze() override
    {
        qualifiers.freeze();
        Rep::freeze();
    }

    ElementList<QualifierRep> qualifiers;
};

struct PropertyRep final : QualifiedRep, Named
{
    static constexpr const char* kind = "property";
    explicit PropertyRep(const Pegasus::CIMName& elementName) : Named(elementName) {}
    std::shared_ptr<Rep> clone() const override { return std::make_shared<PropertyRep>(*this); }

    Pegasus::CIMValue value;
    Uint32 arraySize = 0;
    Pegasus::CIMName referenceClassName;
    Pegasus::CIMName classOrigin;
    bool propagated = false;
};

struct ParameterRep final : QualifiedRep, Named
{
    static constexpr const char* kind = "parameter";
    explicit ParameterRep(const Pegasus::CIMName& elementName) : Named(elementName) {}
    std::shared_ptr<Rep> clone() const override { return std::make_shared<ParameterRep>(*this); }

    Pegasus::CIMType type = Pegasus::CIMTYPE_BOOLEAN;
    bool isArray = false;
    Uint32 arraySize = 0;
    Pegasus::CIMName referenceClassName;
};

struct MethodRep final : QualifiedRep, Named
{
    static constexpr const char* kind = "method";
    explicit MethodRep(const Pegasus::CIMName& elementName) : Named(elementName) {}
    std::shared_ptr<Rep> clone() const override { return std::make_shared<MethodRep>(*this); }
    void freeze() override
    {
        parameters.freeze();
        QualifiedRep::freeze();
    }

    Pegasus::CIMType type = Pegasus::CIMTYPE_BOOLEAN;
    Pegasus::CIMName classOrigin;
    bool propagated = false;
    ElementList<ParameterRep> parameters;
};

/// What class and instance have in common.
struct ObjectRep : QualifiedRep
{
    /// Throws UninitializedObjectException when the name is null.
    explicit ObjectRep(const Pegasus::CIMName& className);
    void freeze() override
    {
        properties.freeze();
        QualifiedRep::freeze();
    }

    /// Its class name is the object's.
    Pegasus::CIMObjectPath path;
    ElementList<PropertyRep> properties;
};

struct InstanceRep final : ObjectRep
{
    using ObjectRep::ObjectRep;
    std::shared_ptr<Rep> clone() const override { return std::make_shared<InstanceRep>(*this); }
};

struct ClassRep final : ObjectRep
{
    using ObjectRep::ObjectRep;
    std::shared_ptr<Rep> clone() const override { return std::make_shared<ClassRep>(*this); }
    void freeze() override
    {
        methods.freeze();
        ObjectRep::freeze();
    }

    Pegasus::CIMName superClassName;
    ElementList<MethodRep> methods;
};

struct ParamValueRep final : Rep
{
    std::shared_ptr<Rep> clone() const override { return std::make_shared<ParamValueRep>(*this); }

    Pegasus::String name;
    Pegasus::CIMValue value;
    bool isTyped = true;
};

bool identical(const QualifierRep& a, const QualifierRep& b);
bool identical(const PropertyRep& a, const PropertyRep& b);
bool identical(const ParameterRep& a, const ParameterRep& b);
bool identical(const MethodRep& a, const MethodRep& b);
bool identical(const ObjectRep& a, const ObjectRep& b);
bool identical(const ClassRep& a, const ClassRep& b);

/// The same elements in the same order.
template <class T>
bool identical(const ElementList<T>& a, const ElementList<T>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& x, const auto& y) { return identical(*x, *y); });
}

}  // namespace cimom
