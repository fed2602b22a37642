#include "Http/Tls.h"

#include "Model/Text.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <stdexcept>

namespace cimom
{

namespace
{

/// No key exchange without forward secrecy, none without a certificate.
const char* const ciphers = "ECDHE+HIGH:DHE+HIGH:!aNULL:!PSK:!SRP";
const char* const signatures =
    "ed25519:ECDSA+SHA256:ECDSA+SHA384:ECDSA+SHA512:rsa_pss_rsae_sha256:rsa_pss_rsae_sha384:"
    "rsa_pss_rsae_sha512:rsa_pss_pss_sha256:RSA+SHA256:RSA+SHA384:RSA+SHA512";

std::string lastError()
{
    const char* reason = ERR_reason_error_string(ERR_peek_last_error());
    ERR_clear_error();
    return reason ? reason : "unknown error";
}

}  // namespace

std::shared_ptr<SSL_CTX> readCertificate(const std::string& certificateFile,
                                         const std::string& keyFile)
{
    readFile(certificateFile, "certificate");  // says which one cannot be read
    readFile(keyFile, "key");
    const std::shared_ptr<SSL_CTX> made(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    SSL_CTX* const tls = made.get();
    const bool isSet = tls && SSL_CTX_set_min_proto_version(tls, TLS1_2_VERSION) == 1 &&
                       SSL_CTX_set_cipher_list(tls, ciphers) == 1 &&
                       SSL_CTX_set1_sigalgs_list(tls, signatures) == 1 &&
                       SSL_CTX_set_dh_auto(tls, 1) == 1;
    if (!isSet) throw std::runtime_error("cannot set up TLS: " + lastError());
    SSL_CTX_set_options(tls, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
    SSL_CTX_set_session_cache_mode(tls, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_mode(tls, SSL_MODE_RELEASE_BUFFERS);  // of connections that are idle
    if (SSL_CTX_use_certificate_chain_file(tls, certificateFile.c_str()) != 1 ||
        SSL_CTX_use_PrivateKey_file(tls, keyFile.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_check_private_key(tls) != 1) {
        throw std::runtime_error(certificateFile + " and " + keyFile +
                                 " are no PEM certificate and its key: " + lastError());
    }
    return made;
}

}  // namespace cimom
