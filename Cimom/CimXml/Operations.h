// The CIM operations of the protocol: their parameters and how each is run.
#pragma once

#include "Broker/Broker.h"
#include "CimXml/Enumerations.h"
#include "CimXml/ReplyWriter.h"
#include "CimXml/XmlTree.h"

#include <string>
#include <vector>

namespace cimom
{

/// Where and for whom an operation runs.
struct CallContext
{
    Broker& broker;
    const Repository& schema;
    Enumerations& enumerations;
    OperationContext identity;  ///< the user who sent the request
    CIMNamespaceName nameSpace;
};

class Call;

/// An intrinsic operation. `run` decodes the parameters, runs the operation and writes its result.
struct Operation
{
    std::string name;
    std::vector<std::string> parameters;  ///< names of those that it takes
    void (*run)(const Call&, ReplyWriter&);
};

/// The operations by which clients pull results in parts.
extern const std::vector<Operation> pullOperations;

/// The operation of that name, compared without case; null when there is none.
const Operation* findOperation(const std::string& name);

/// Runs an IMETHODCALL and writes the content of its response element. Throws RequestError for a
/// parameter that is not of its kind; CIM_ERR_NOT_SUPPORTED for one that the operation does not
/// know and CIM_ERR_INVALID_PARAMETER for one that is given twice or missing; and what the broker
/// throws.
void runOperation(const Operation&, const CallContext&, const XmlElement& call, ReplyWriter&);

/// Runs the METHODCALL of a method on an object and writes the content of its response element.
/// Untyped parameters get the types of the method's declaration. Throws as `runOperation`.
void runMethod(const CallContext&, const CIMObjectPath& path, const CIMName& method,
               const XmlElement& call, ReplyWriter&);

}  // namespace cimom
