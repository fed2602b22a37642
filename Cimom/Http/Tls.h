// What TLS connections begin with.
#pragma once

#include <memory>
#include <openssl/types.h>
#include <string>

namespace cimom
{

/// TLS 1.2 and 1.3 with the certificate (PEM, with those between it and its root) and its key: keys
/// are ephemeral, no signature uses SHA-1. Throws std::runtime_error that names the files.
std::shared_ptr<SSL_CTX> readCertificate(const std::string& certificateFile,
                                         const std::string& keyFile);

}  // namespace cimom
