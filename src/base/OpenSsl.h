#pragma once

#include "base/LateLibrary.h"

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

/// OpenSSL's libcrypto, which is opened with the first hash, signature or random number. What is used beyond these is
/// "undefined" to the linker, and is to be added here.
namespace fenlo {

extern const char openSslLibrary[];

#define FENLO_OPENSSL(name) FENLO_LATE_FUNCTION(openSslLibrary, name)
FENLO_OPENSSL(EVP_DecodeBlock);
FENLO_OPENSSL(EVP_Digest);
FENLO_OPENSSL(EVP_DigestFinal_ex);
FENLO_OPENSSL(EVP_DigestInit_ex);
FENLO_OPENSSL(EVP_DigestUpdate);
FENLO_OPENSSL(EVP_DigestVerify);
FENLO_OPENSSL(EVP_DigestVerifyInit);
FENLO_OPENSSL(EVP_EncodeBlock);
FENLO_OPENSSL(EVP_MD_CTX_free);
FENLO_OPENSSL(EVP_MD_CTX_new);
FENLO_OPENSSL(EVP_PKEY_free);
FENLO_OPENSSL(EVP_PKEY_new_raw_public_key);
FENLO_OPENSSL(EVP_sha1);
FENLO_OPENSSL(EVP_sha256);
FENLO_OPENSSL(RAND_bytes);
FENLO_OPENSSL(SHA256);
#undef FENLO_OPENSSL

} // namespace fenlo
