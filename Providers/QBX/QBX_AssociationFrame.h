// The frame that every association provider shares: its trace lines as one table, its parameter
// screen as another, and the operations' order of steps.
//
// A provider of the frame supplies what is its own: which records, how a pair of objects becomes
// an association, and what lies at the other end.
#ifndef QBX_AssociationFrame_h
#define QBX_AssociationFrame_h

#include "QBX_Frame.h"

#include <Pegasus/Common/CIMObject.h>

namespace Pegasus
{
namespace QBX_Frame
{

/// The trace lines of one traversal operation.
struct TraversalTraces
{
    Traces frame;            ///< as it begins and ends
    const char* parameters;  ///< what was asked, level 4
    const char* refused;     ///< the parameters cannot have a result, level 2
};

/// All trace lines of one association provider. They differ from provider to provider in ways that
/// no pattern produces, so each provider holds them whole.
///   %s of the traversals' parameters: object path, [association class,] result class.
///   %s of the refusals: role and result class for the references, association class and result
///   class for associatorNames, result class for associators.
struct AssociationTraces
{
    ///@{
    /// The lines of an operation, or of a step that operations share.
    Traces initialize;
    Traces enumerateInstanceNames;
    Traces enumerateInstances;
    Traces getInstance;
    const char* wrongKeyCount;  ///< level 2, %d: the number of keys
    TraversalTraces referenceNames;
    TraversalTraces references;
    TraversalTraces associatorNames;
    TraversalTraces associators;
    Traces getInstances;
    Traces getInstanceNames;
    Traces getRelatedInstances;      ///< entry %s: class name of the object
    Traces getRelatedInstanceNames;  ///< entry %s: class name of the object
    ///@}
};

/// What a client's traversal request may ask of an association.
struct AssociationScreen
{
    /// One end of the association.
    struct End
    {
        String role;             ///< name of the reference property
        Array<CIMName> classes;  ///< of the objects that stand there
    };
    End first;                         ///< one end
    End second;                        ///< the other end
    Array<CIMName> referenceClasses;   ///< result classes of references and referenceNames
    Array<CIMName> associatedClasses;  ///< result classes of associators and associatorNames
};

/// True when the request can have no result: a role that the association lacks or that is not the
/// object's own, a result role that is not the other end's, a result class outside the screen's.
/// An object of neither end passes whatever its role.
bool isScreenedOut(const AssociationScreen& screen, const CIMObjectPath& objectName,
                   const String& role, const String& resultRole, const CIMName& resultClass,
                   const String& operationName);

/// The paths of the instances, in their order.
Array<CIMObjectPath> pathsOf(const Array<CIMInstance>& instances);

/// Writes an entry line that shows the class of the object.
void traceClass(const char* entry, const CIMObjectPath& objectName);

/// Calls `visit(cage, element)` for each association of the object: an element sits in the first
/// related cage, if any; a cage holds every related element; any other object has none.
template <class Visit>
void pairWithCage(const CIMObjectPath& objectName, const Array<CIMObjectPath>& related,
                  const Array<CIMName>& elementClasses, const Array<CIMName>& cageClasses,
                  Visit&& visit)
{
    if (QBX_Common::isPartOfArray(objectName.getClassName(), elementClasses)) {
        if (related.size() != 0) visit(related[0], objectName);
    } else if (QBX_Common::isPartOfArray(objectName.getClassName(), cageClasses)) {
        for (Uint32 i = 0; i < related.size(); ++i)
            visit(objectName, related[i]);
    }
}

/// The operations of one association provider, step by step. The provider makes the frame its
/// friend and supplies
///   _getInstances, _getInstanceNames                   all associations
///   _getRelatedInstances, _getRelatedInstanceNames     what lies at the other end of an object
///   _invalidParms                                      the screen
///   _pairUp(object, related names, visit)              calls visit(ends...) for each association
///   _buildAssociationName(ends...), _buildAssociationInstance(ends..., flags, property list)
template <class Provider>
class AssociationFrame
{
public:
    /// Refers to the first three, which must outlive it. `at` is the place of the operation.
    AssociationFrame(Provider& provider, const String& name, const AssociationTraces& traces,
                     const SourceLocation& at)
        : _provider(provider), _name(name), _traces(traces), _at(at)
    {
    }

    ///@{
    /// The operation of the CIM interfaces, for the user that the context names.
    void enumerateInstanceNames(const OperationContext& context, ObjectPathResponseHandler& handler)
    {
        enumerate(_traces.enumerateInstanceNames, context, handler,
                  [&] { return _provider._getInstanceNames(); });
    }

    void enumerateInstances(const OperationContext& context, bool includeQualifiers,
                            bool includeClassOrigin, const CIMPropertyList& propertyList,
                            InstanceResponseHandler& handler)
    {
        enumerate(_traces.enumerateInstances, context, handler, [&] {
            return _provider._getInstances(includeQualifiers, includeClassOrigin, propertyList);
        });
    }

    void getInstance(const OperationContext& context, const CIMObjectPath& reference,
                     bool includeQualifiers, bool includeClassOrigin,
                     const CIMPropertyList& propertyList, InstanceResponseHandler& handler)
    {
        trace(_traces.getInstance.entry);
        openApi(context, _at);
        const Uint32 keyCount = reference.getKeyBindings().size();
        if (keyCount != 2) {
            log_message(QBX_LOG_FAILURE, _traces.wrongKeyCount, keyCount);
            throw CIMInvalidParameterException(_name + " Expect two keys.");
        }
        deliverMatch(handler,
                     _provider._getInstances(includeQualifiers, includeClassOrigin, propertyList),
                     reference, _name, String());
        trace(_traces.getInstance.exit);
    }

    void referenceNames(const OperationContext& context, const CIMObjectPath& objectName,
                        const CIMName& resultClass, const String& role,
                        ObjectPathResponseHandler& handler)
    {
        traverseReferences(_traces.referenceNames, "referenceNames", context, objectName,
                           resultClass, role, handler, [&](const auto&... ends) {
                               handler.deliver(_provider._buildAssociationName(ends...));
                           });
    }

    void references(const OperationContext& context, const CIMObjectPath& objectName,
                    const CIMName& resultClass, const String& role, bool includeQualifiers,
                    bool includeClassOrigin, const CIMPropertyList& propertyList,
                    ObjectResponseHandler& handler)
    {
        traverseReferences(_traces.references, "references", context, objectName, resultClass, role,
                           handler, [&](const auto&... ends) {
                               handler.deliver(CIMObject(_provider._buildAssociationInstance(
                                   ends..., includeQualifiers, includeClassOrigin, propertyList)));
                           });
    }

    void associatorNames(const OperationContext& context, const CIMObjectPath& objectName,
                         const CIMName& associationClass, const CIMName& resultClass,
                         const String& role, const String& resultRole,
                         ObjectPathResponseHandler& handler)
    {
        openTraversal(_traces.associatorNames, context, objectName, associationClass, resultClass);
        if (_provider._invalidParms(objectName, role, resultRole, resultClass, "associatorNames")) {
            log_message(QBX_LOG_FAILURE, _traces.associatorNames.refused,
                        c_str(associationClass.getString().getCString()),
                        c_str(resultClass.getString().getCString()));
            return;
        }
        deliverEach<CIMObjectPath>(handler,
                                   _provider._getRelatedInstanceNames(objectName, context));
        trace(_traces.associatorNames.frame.exit);
    }

    void associators(const OperationContext& context, const CIMObjectPath& objectName,
                     const CIMName& associationClass, const CIMName& resultClass,
                     const String& role, const String& resultRole, bool includeQualifiers,
                     bool includeClassOrigin, const CIMPropertyList& propertyList,
                     ObjectResponseHandler& handler)
    {
        openTraversal(_traces.associators, context, objectName, associationClass, resultClass);
        if (_provider._invalidParms(objectName, role, resultRole, resultClass, "associators")) {
            log_message(QBX_LOG_FAILURE, _traces.associators.refused,
                        c_str(resultClass.getString().getCString()));
            return;
        }
        deliverEach<CIMObject>(
            handler, _provider._getRelatedInstances(objectName, context, includeQualifiers,
                                                    includeClassOrigin, propertyList));
        trace(_traces.associators.frame.exit);
    }
    ///@}

    /// The provider's _getInstanceNames.
    Array<CIMObjectPath> instanceNames()
    {
        trace(_traces.getInstanceNames.entry);
        const Array<CIMObjectPath> paths =
            pathsOf(_provider._getInstances(false, false, CIMPropertyList()));
        trace(_traces.getInstanceNames.exit);
        return paths;
    }

    /// The provider's _getRelatedInstanceNames. `context` is what its _getRelatedInstances takes
    /// of the request: the context or nothing.
    template <class... Context>
    Array<CIMObjectPath> relatedInstanceNames(const CIMObjectPath& objectName,
                                              const Context&... context)
    {
        traceClass(_traces.getRelatedInstanceNames.entry, objectName);
        const Array<CIMObjectPath> paths = pathsOf(_provider._getRelatedInstances(
            objectName, context..., false, false, CIMPropertyList()));
        trace(_traces.getRelatedInstanceNames.exit);
        return paths;
    }

private:
    template <class Handler, class Build>
    void enumerate(const Traces& traces, const OperationContext& context, Handler& handler,
                   Build&& build)
    {
        trace(traces.entry);
        openApi(context, _at);
        deliver(handler, build());
        trace(traces.exit);
    }

    /// Opens a traversal: its two entry lines, the API. `asked` are the class names it shows.
    template <class... Asked>
    void openTraversal(const TraversalTraces& traces, const OperationContext& context,
                       const CIMObjectPath& objectName, const Asked&... asked)
    {
        trace(traces.frame.entry);
        log_message(QBX_LOG_TRACE, traces.parameters, c_str(objectName.toString().getCString()),
                    c_str(asked.getString().getCString())...);
        openApi(context, _at);
    }

    template <class Handler, class DeliverPair>
    void traverseReferences(const TraversalTraces& traces, const char* operationName,
                            const OperationContext& context, const CIMObjectPath& objectName,
                            const CIMName& resultClass, const String& role, Handler& handler,
                            DeliverPair&& deliverPair)
    {
        openTraversal(traces, context, objectName, resultClass);
        if (_provider._invalidParms(objectName, role, String::EMPTY, resultClass, operationName)) {
            log_message(QBX_LOG_FAILURE, traces.refused, c_str(role.getCString()),
                        c_str(resultClass.getString().getCString()));
            return;
        }
        const Array<CIMObjectPath> related =
            _provider._getRelatedInstanceNames(objectName, context);
        handler.processing();
        _provider._pairUp(objectName, related, deliverPair);
        handler.complete();
        trace(traces.frame.exit);
    }

    template <class Delivered, class Handler, class Results>
    static void deliverEach(Handler& handler, const Results& results)
    {
        handler.processing();
        for (Uint32 i = 0; i < results.size(); ++i)
            handler.deliver(Delivered(results[i]));
        handler.complete();
    }

    Provider& _provider;
    const String& _name;
    const AssociationTraces& _traces;
    const SourceLocation _at;
};

}  // namespace QBX_Frame
}  // namespace Pegasus

#endif
