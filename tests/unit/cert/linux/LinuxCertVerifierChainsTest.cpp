// Every kind of chain: what we say beside what the `openssl` command says of the same files, and beside what
// is expected of both. Of several issuers that fit, OpenSSL takes one and doesn't try the next.

#include "LinuxCertVerifierTestSupport.h"
#include "support/LogCapture.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <memory>
#include <sstream>
#include <sys/wait.h>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/opensslv.h>

namespace zeb::cert::test {
namespace {

using zeb::test::Key;
using zeb::test::Keys;

constexpr std::time_t DAY = 24 * 3600;

using Certificates = std::vector<IssuedCertificate>;

struct Chain {
    const char* name;
    bool valid;
    std::string bundle;  ///< PEM
    IssuedCertificate leaf;
    Certificates sent;
};

/// The answer of the command.
struct Verdict {
    bool valid = false;
    int firstError = 0;  ///< the number behind the first "error " that it prints; 0: none
    std::string output;
};

class LinuxCertVerifierChainsTest : public LinuxCertVerifierTestBase {
protected:
    std::vector<Chain> chains() const;
    std::vector<Chain> chainsOfTimes() const;
    std::vector<Chain> chainsOfAuthorities() const;
    std::vector<Chain> chainsOfExtensions() const;
    std::vector<Chain> chainsOfKeys() const;
    std::vector<Chain> chainsOfBundles() const;

    Verdict ask(const Chain& chain) const;
    /// Ours, from the handshake and from the log.
    Verdict verify(const Chain& chain) const;

    /// A leaf by itself under an authority of these options.
    Certificates under(const CertificateBuilder& authority, const CertificateBuilder& leaf = {}) const {
        const IssuedCertificate issuer = issue("Special authority", &root_, authority);
        return {issue("special.example.test", &issuer, leaf), issuer};
    }
    static Chain chain(const char* name, bool valid, const std::string& bundle, Certificates leafAndSent) {
        const IssuedCertificate leaf = leafAndSent.front();
        leafAndSent.erase(leafAndSent.begin());
        return {name, valid, bundle, leaf, leafAndSent};
    }

    const std::string bundle_ = root_.pem();
};

std::vector<Chain> LinuxCertVerifierChainsTest::chains() const {
    const IssuedCertificate stranger = issue("Stranger", nullptr, asAuthority());
    const IssuedCertificate selfSigned = issue("self.example.test", nullptr);
    const IssuedCertificate deep = issue("Deep authority", &authority_, asAuthority());
    const IssuedCertificate deepServer = issue("deep.example.test", &deep);
    const IssuedCertificate forged =
        issue("server.example.test", &authority_, CertificateBuilder().brokenSignature());
    const Certificates ofForgedAuthority = under(asAuthority().brokenSignature());
    const Certificates named = under(asAuthority().extension(NID_authority_key_identifier, "keyid"));
    const IssuedCertificate impostor = issue("Root", nullptr, asAuthority());
    return {
        {"good", true, bundle_, server_, {authority_}},
        {"directly under the root", true, bundle_, issue("direct.example.test", &root_), {}},
        {"the root itself", true, bundle_, root_, {}},
        {"the leaf and the root are sent as well", true, bundle_, server_, {server_, authority_, root_}},
        {"two authorities", true, bundle_, deepServer, {deep, authority_}},
        {"two authorities the wrong way round",
         true,
         bundle_,
         deepServer,
         {root_, authority_, deep, deepServer}},
        {"strangers and doubles among what is sent",
         true,
         bundle_,
         server_,
         {stranger, authority_, selfSigned, authority_}},
        {"missing intermediate", false, bundle_, server_, {}},
        {"a stranger in place of the intermediate", false, bundle_, server_, {stranger}},
        {"missing link between two", false, bundle_, deepServer, {authority_}},
        {"self-signed", false, bundle_, selfSigned, {}},
        {"self-signed, in the bundle", true, selfSigned.pem(), selfSigned, {}},
        {"unknown root", false, stranger.pem(), server_, {authority_}},
        {"unknown root that is sent", false, stranger.pem(), server_, {authority_, root_}},
        {"a root of the same name with another key", false, impostor.pem(), server_, {authority_}},
        {"both roots of that name, of which OpenSSL takes the first",
         false,
         impostor.pem() + bundle_,
         server_,
         {authority_}},
        {"both roots of that name, and the authority names its key",
         true,
         impostor.pem() + bundle_,
         named.front(),
         {named.back()}},
        {"wrong signature on the leaf", false, bundle_, forged, {authority_}},
        chain("wrong signature on the intermediate", false, bundle_, ofForgedAuthority),
    };
}

std::vector<Chain> LinuxCertVerifierChainsTest::chainsOfTimes() const {
    const std::time_t now = std::time(nullptr);
    const IssuedCertificate expiredRoot = issue("Expired root", nullptr, asAuthority().expired());
    return {
        {"expired", false, bundle_, issue("late.example.test", &root_, CertificateBuilder().expired()), {}},
        {"not yet valid",
         false,
         bundle_,
         issue("early.example.test", &root_, CertificateBuilder().notYetValid()),
         {}},
        {"ended before it began",
         false,
         bundle_,
         issue("never.example.test", &root_, CertificateBuilder().validity(now + DAY, now - DAY)),
         {}},
        chain("expired intermediate", false, bundle_, under(asAuthority().expired())),
        chain("intermediate not yet valid", false, bundle_, under(asAuthority().notYetValid())),
        {"expired root", false, expiredRoot.pem(), issue("old.example.test", &expiredRoot), {}},
        {"expired and of an unknown root",
         false,
         bundle_,
         issue("worse.example.test", &expiredRoot, CertificateBuilder().expired()),
         {}},
    };
}

std::vector<Chain> LinuxCertVerifierChainsTest::chainsOfAuthorities() const {
    const IssuedCertificate short_ =
        issue("Short root", nullptr,
              CertificateBuilder().extension(NID_basic_constraints, "critical,CA:TRUE,pathlen:0"));
    const IssuedCertificate below = issue("Below", &short_, asAuthority());
    const IssuedCertificate oldRoot = issue("Old root", nullptr, CertificateBuilder().version(1));
    const IssuedCertificate oldAuthority = issue("Old authority", &root_, CertificateBuilder().version(1));
    const IssuedCertificate otherRoot = issue("Other root", nullptr, asAuthority());
    const IssuedCertificate crossed = issue("Authority", &otherRoot, asAuthority().key(authority_.key));
    const IssuedCertificate crossedRoot = issue("Root", &otherRoot, asAuthority().key(root_.key));
    const IssuedCertificate direct = issue("short.example.test", &short_);
    return {
        chain("CA flag missing", false, bundle_, under({})),
        chain("CA flag false", false, bundle_,
              under(CertificateBuilder().extension(NID_basic_constraints, "critical,CA:FALSE"))),
        chain("an authority that must not sign certificates", false, bundle_,
              under(CertificateBuilder()
                        .extension(NID_basic_constraints, "CA:TRUE")
                        .extension(NID_key_usage, "digitalSignature"))),
        {"an authority as the leaf", true, bundle_, authority_, {}},
        {"path length kept", true, short_.pem(), direct, {}},
        {"path length exceeded", false, short_.pem(), issue("below.example.test", &below), {below}},
        {"a root of version 1", true, oldRoot.pem(), issue("v1.example.test", &oldRoot), {}},
        {"an intermediate of version 1",
         false,
         bundle_,
         issue("v1.example.test", &oldAuthority),
         {oldAuthority}},
        {"cross-signed, the other root trusted", true, otherRoot.pem(), server_, {crossed}},
        {"cross-signed, the good one second, as OpenSSL takes the first",
         false,
         otherRoot.pem(),
         server_,
         {authority_, crossed}},
        {"cross-signed, the good one first", true, otherRoot.pem(), server_, {crossed, authority_}},
        {"cross-signed, this root trusted", true, bundle_, server_, {authority_, crossed}},
        {"cross-signed, both roots trusted", true, bundle_ + otherRoot.pem(), server_, {crossed, authority_}},
        {"cross-signed root", true, otherRoot.pem(), server_, {authority_, crossedRoot}},
        {"cross-signed root of which this form is trusted",
         true,
         bundle_,
         server_,
         {authority_, crossedRoot}},
        {"cross-signed, neither trusted", false, short_.pem(), server_, {authority_, crossed, crossedRoot}},
    };
}

std::vector<Chain> LinuxCertVerifierChainsTest::chainsOfExtensions() const {
    const auto named = [](const std::string& name) -> CertificateBuilder {
        return CertificateBuilder().extension(NID_subject_alt_name, "DNS:" + name);
    };
    const auto constrained =
        asAuthority().extension(NID_name_constraints, "critical,permitted;DNS:example.test");
    const auto excluding =
        asAuthority().extension(NID_name_constraints, "critical,excluded;DNS:example.test");
    const std::string oid = "1.3.6.1.4.1.55555.1";
    const std::string null("\x05\x00", 2);
    const IssuedCertificate other = issue("Other", nullptr, asAuthority());
    return {
        {"wrong usage",
         true,
         bundle_,
         issue("client", &root_, CertificateBuilder().extension(NID_ext_key_usage, "clientAuth")),
         {}},
        {"wrong usage, marked critical",
         true,
         bundle_,
         issue("signer", &root_, CertificateBuilder().extension(NID_ext_key_usage, "critical,codeSigning")),
         {}},
        {"no usage that TLS has",
         true,
         bundle_,
         issue("nothing", &root_, CertificateBuilder().extension(NID_key_usage, "cRLSign")),
         {}},
        chain("name constraints kept", true, bundle_, under(constrained, named("a.example.test"))),
        chain("name constraints broken", false, bundle_, under(constrained, named("example.invalid"))),
        chain("excluded name", false, bundle_, under(excluding, named("a.example.test"))),
        chain("not excluded name", true, bundle_, under(excluding, named("example.invalid"))),
        {"critical unknown extension",
         false,
         bundle_,
         issue("odd", &root_, CertificateBuilder().rawExtension(oid, null, true)),
         {}},
        {"unknown extension",
         true,
         bundle_,
         issue("odd", &root_, CertificateBuilder().rawExtension(oid, null)),
         {}},
        chain("critical unknown extension in the intermediate", false, bundle_,
              under(asAuthority().rawExtension(oid, null, true))),
        {"the authority's key named",
         true,
         bundle_,
         issue("named", &root_, CertificateBuilder().extension(NID_authority_key_identifier, "keyid")),
         {}},
        {"a broken basicConstraints",
         false,
         bundle_,
         issue("broken", &root_, CertificateBuilder().extension(NID_basic_constraints, "DER:01:02:03")),
         {}},
        chain("a broken subjectAltName under constraints", false, bundle_,
              under(constrained, CertificateBuilder().extension(NID_subject_alt_name, "DER:01:02:03"))),
    };
}

std::vector<Chain> LinuxCertVerifierChainsTest::chainsOfKeys() const {
    const IssuedCertificate rsaRoot = issue("RSA root", nullptr, asAuthority().key(Keys::rsa()));
    const Key small = Keys::rsa(1024);
    const IssuedCertificate smallAuthority = issue("Small", &rsaRoot, asAuthority().key(small));
    return {
        {"a key of 1024 bits", true, bundle_, issue("small", &root_, CertificateBuilder().key(small)), {}},
        {"an authority with a key of 1024 bits",
         true,
         rsaRoot.pem(),
         issue("leaf", &smallAuthority),
         {smallAuthority}},
        {"SHA-1", true, rsaRoot.pem(), issue("sha1", &rsaRoot, CertificateBuilder().digest(EVP_sha1())), {}},
        {"SHA-1 over an EC key",
         true,
         bundle_,
         issue("sha1", &root_, CertificateBuilder().digest(EVP_sha1())),
         {}},
        {"MD5", true, rsaRoot.pem(), issue("md5", &rsaRoot, CertificateBuilder().digest(EVP_md5())), {}},
        {"SHA-512",
         true,
         rsaRoot.pem(),
         issue("sha512", &rsaRoot, CertificateBuilder().digest(EVP_sha512())),
         {}},
        {"two certificates of one serial number",
         true,
         bundle_,
         [&] {
             issue("first", &root_, CertificateBuilder().serial(7));
             return issue("second", &root_, CertificateBuilder().serial(7));
         }(),
         {}},
    };
}

std::vector<Chain> LinuxCertVerifierChainsTest::chainsOfBundles() const {
    const std::string half = server_.pem().substr(0, server_.pem().size() / 2);
    return {
        {"an empty bundle", false, "", server_, {authority_}},
        {"a bundle without certificates", false, "no certificates\n", server_, {authority_}},
        {"the intermediate alone in the bundle", false, authority_.pem(), server_, {}},
        {"the leaf alone in the bundle", false, server_.pem(), server_, {}},
        {"root and intermediate in the bundle", true, bundle_ + authority_.pem(), server_, {}},
        {"a damaged bundle", false, bundle_ + half, server_, {authority_}},
        {"a root with trust settings that reject it", false, rejectedPemOf(root_), server_, {authority_}},
        {"a revocation list in the bundle",
         true,
         bundle_ + revocationListPemOf(root_),
         server_,
         {authority_}},
    };
}

std::string outputOf(const std::string& command, int& status) {
    std::string output;
    std::FILE* const pipe = ::popen(command.c_str(), "r");  // NOLINT(cert-env33-c): the test's own words
    if (pipe != nullptr) {
        std::array<char, 4096> block{};
        while (const std::size_t size = std::fread(block.data(), 1, block.size(), pipe)) {
            output.append(block.data(), size);
        }
        status = ::pclose(pipe);
    }
    return output;
}

int numberBehind(const std::string& text, const std::string& words) {
    const std::size_t at = text.find(words);
    return at == std::string::npos ? 0 : std::atoi(text.c_str() + at + words.size());  // NOLINT(cert-err34-c)
}

Verdict LinuxCertVerifierChainsTest::ask(const Chain& chain) const {
    std::string sent;
    for (const IssuedCertificate& certificate : chain.sent) {
        sent += certificate.pem();
    }
    BundleFolder::rewrite(folder_.path() + "leaf.pem", chain.leaf.pem());
    BundleFolder::rewrite(folder_.path() + "sent.pem", sent);
    std::string command =
        "cd '" + folder_.path() + "' && openssl verify -no-CApath -CAfile ca-certificates.crt ";
    command += sent.empty() ? "" : "-untrusted sent.pem ";
    int status = -1;
    Verdict verdict;
    verdict.output = outputOf(command + "leaf.pem 2>&1", status);
    verdict.valid = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    verdict.firstError = numberBehind(verdict.output, "error ");
    return verdict;
}

Verdict LinuxCertVerifierChainsTest::verify(const Chain& chain) const {
    const zeb::test::LogCapture log;
    Verdict verdict;
    verdict.valid = verifySent(chain.leaf, chain.sent) == VALID_ONLY;
    verdict.output = log.text();
    verdict.firstError = numberBehind(verdict.output, "verify failed: ");
    return verdict;
}

TEST_F(LinuxCertVerifierChainsTest, WhatWeSayOfAChainIsWhatTheOpensslCommandSays) {
    int status = -1;
    if (outputOf("openssl version 2>&1", status); status != 0) {
        GTEST_SKIP() << "no openssl command on this machine";
    }
    for (const auto& table : {chains(), chainsOfTimes(), chainsOfAuthorities(), chainsOfExtensions(),
                              chainsOfKeys(), chainsOfBundles()}) {
        for (const Chain& chain : table) {
            BundleFolder::rewrite(folder_.first(), chain.bundle);
            const Verdict theirs = ask(chain);
            const Verdict ours = verify(chain);
            SCOPED_TRACE(std::string(chain.name) + "\n" + theirs.output + ours.output);
            EXPECT_EQ(chain.valid, ours.valid);
            EXPECT_EQ(theirs.valid, ours.valid);
            // A bundle that it can't load ends the command before it gets to the chain.
            if (theirs.output.find("Error loading") == std::string::npos) {
                EXPECT_EQ(theirs.firstError, ours.firstError);
            }
        }
    }
}

}  // namespace
}  // namespace zeb::cert::test
