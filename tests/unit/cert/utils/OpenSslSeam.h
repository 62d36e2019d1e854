#pragma once

/// Stands between the certificate parsers and OpenSSL: the linker sends these calls here first (--wrap). What
/// a test doesn't ask for goes through unchanged. For the thread that asked.
namespace zeb::test {

enum class OpenSslCall {
    BIO_NEW,
    BIO_READ,  ///< reads what there is, and then says that it isn't implemented
    PEM_WRITE,
    GET_EXTENSION,
    GET_EXTENSION_METHOD,
    GET_SUBJECT,
};

/// While it lives, the call fails.
class FailingOpenSslCall {
public:
    explicit FailingOpenSslCall(OpenSslCall call);
    ~FailingOpenSslCall();
    FailingOpenSslCall(const FailingOpenSslCall&) = delete;
    FailingOpenSslCall& operator=(const FailingOpenSslCall&) = delete;
};

/// While it lives, every extension decodes to this object, which whoever asks for it first owns.
class DecodedExtension {
public:
    explicit DecodedExtension(void* object);
    ~DecodedExtension();
    DecodedExtension(const DecodedExtension&) = delete;
    DecodedExtension& operator=(const DecodedExtension&) = delete;
};

}  // namespace zeb::test
