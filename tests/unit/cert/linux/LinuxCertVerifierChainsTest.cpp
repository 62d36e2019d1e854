// Every kind of chain: what we say beside what the `openssl` command says of the same files, and beside what
// is expected of both. Of several issuers that fit, OpenSSL takes one and doesn't try the next.

#include "LinuxCertVerifierTestSupport.h"
#include "support/LogCapture.h"

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>
#include <sys/wait.h>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/opensslv.h>

namespace zeb::cert::test {
namespace {

using Certificates = std::vector<TestCertificate>;
using Extensions = std::vector<std::pair<std::string, std::string>>;

struct Chain {
    const char* name;
    bool valid;
    std::string bundle;  ///< PEM
    TestCertificate leaf;
    Certificates sent;
};

TestCertificateOptions with(TestCertificateOptions options, const Extensions& extensions) {
    options.extensions.insert(options.extensions.end(), extensions.begin(), extensions.end());
    return options;
}

TestCertificateOptions withOnly(const Extensions& extensions) {
    return with({}, extensions);
}

TestCertificateOptions valid(int fromDays, int toDays, TestCertificateOptions options = {}) {
    options.validFromDays = fromDays;
    options.validToDays = toDays;
    return options;
}

TestCertificateOptions keyed(KeyHandle key, TestCertificateOptions options = {}) {
    options.key = std::move(key);
    return options;
}

TestCertificateOptions digested(const char* digest, TestCertificateOptions options = {}) {
    options.digest = digest;
    return options;
}

TestCertificateOptions damaged(TestCertificateOptions options = {}) {
    options.damaged = true;
    return options;
}

TestCertificateOptions firstVersion() {
    TestCertificateOptions options;
    options.version = 0;
    return options;
}

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
    Certificates under(const TestCertificateOptions& authority,
                       const TestCertificateOptions& leaf = {}) const {
        const TestCertificate issuer = issue("Special authority", &root_, authority);
        return {issue("special.example.test", &issuer, leaf), issuer};
    }
    static Chain chain(const char* name, bool valid, const std::string& bundle, Certificates leafAndSent) {
        const TestCertificate leaf = leafAndSent.front();
        leafAndSent.erase(leafAndSent.begin());
        return {name, valid, bundle, leaf, leafAndSent};
    }

    const std::string bundle_ = root_.pem();
};

std::vector<Chain> LinuxCertVerifierChainsTest::chains() const {
    const TestCertificate stranger = issue("Stranger", nullptr, asAuthority());
    const TestCertificate selfSigned = issue("self.example.test", nullptr);
    const TestCertificate deep = issue("Deep authority", &authority_, asAuthority());
    const TestCertificate deepServer = issue("deep.example.test", &deep);
    const TestCertificate forged = issue("server.example.test", &authority_, damaged());
    const Certificates ofForgedAuthority = under(damaged(asAuthority()));
    const Certificates named = under(with(asAuthority(), {{"authorityKeyIdentifier", "keyid"}}));
    const TestCertificate impostor = issue("Root", nullptr, asAuthority());
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
    const TestCertificate expiredRoot = issue("Expired root", nullptr, valid(-20, -10, asAuthority()));
    return {
        {"expired", false, bundle_, issue("late.example.test", &root_, valid(-20, -10)), {}},
        {"not yet valid", false, bundle_, issue("early.example.test", &root_, valid(10, 20)), {}},
        {"ended before it began", false, bundle_, issue("never.example.test", &root_, valid(20, -20)), {}},
        chain("expired intermediate", false, bundle_, under(valid(-20, -10, asAuthority()))),
        chain("intermediate not yet valid", false, bundle_, under(valid(10, 20, asAuthority()))),
        {"expired root", false, expiredRoot.pem(), issue("old.example.test", &expiredRoot), {}},
        {"expired and of an unknown root",
         false,
         bundle_,
         issue("worse.example.test", &expiredRoot, valid(-20, -10)),
         {}},
    };
}

std::vector<Chain> LinuxCertVerifierChainsTest::chainsOfAuthorities() const {
    const TestCertificate short_ =
        issue("Short root", nullptr, withOnly({{"basicConstraints", "critical,CA:TRUE,pathlen:0"}}));
    const TestCertificate below = issue("Below", &short_, asAuthority());
    const TestCertificate oldRoot = issue("Old root", nullptr, firstVersion());
    const TestCertificate oldAuthority = issue("Old authority", &root_, firstVersion());
    const TestCertificate otherRoot = issue("Other root", nullptr, asAuthority());
    const TestCertificate crossed = issue("Authority", &otherRoot, keyed(authority_.key, asAuthority()));
    const TestCertificate crossedRoot = issue("Root", &otherRoot, keyed(root_.key, asAuthority()));
    const TestCertificate direct = issue("short.example.test", &short_);
    return {
        chain("CA flag missing", false, bundle_, under({})),
        chain("CA flag false", false, bundle_, under(withOnly({{"basicConstraints", "critical,CA:FALSE"}}))),
        chain("an authority that must not sign certificates", false, bundle_,
              under(withOnly({{"basicConstraints", "CA:TRUE"}, {"keyUsage", "digitalSignature"}}))),
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
    const auto named = [](const std::string& name) { return withOnly({{"subjectAltName", "DNS:" + name}}); };
    const auto constrained =
        with(asAuthority(), {{"nameConstraints", "critical,permitted;DNS:example.test"}});
    const auto excluding = with(asAuthority(), {{"nameConstraints", "critical,excluded;DNS:example.test"}});
    const Extensions unknownCritical{{"1.3.6.1.4.1.55555.1", "critical,DER:05:00"}};
    const Extensions unknown{{"1.3.6.1.4.1.55555.1", "DER:05:00"}};
    const TestCertificate other = issue("Other", nullptr, asAuthority());
    return {
        {"wrong usage",
         true,
         bundle_,
         issue("client", &root_, withOnly({{"extendedKeyUsage", "clientAuth"}})),
         {}},
        {"wrong usage, marked critical",
         true,
         bundle_,
         issue("signer", &root_, withOnly({{"extendedKeyUsage", "critical,codeSigning"}})),
         {}},
        {"no usage that TLS has",
         true,
         bundle_,
         issue("nothing", &root_, withOnly({{"keyUsage", "cRLSign"}})),
         {}},
        chain("name constraints kept", true, bundle_, under(constrained, named("a.example.test"))),
        chain("name constraints broken", false, bundle_, under(constrained, named("example.invalid"))),
        chain("excluded name", false, bundle_, under(excluding, named("a.example.test"))),
        chain("not excluded name", true, bundle_, under(excluding, named("example.invalid"))),
        {"critical unknown extension", false, bundle_, issue("odd", &root_, withOnly(unknownCritical)), {}},
        {"unknown extension", true, bundle_, issue("odd", &root_, withOnly(unknown)), {}},
        chain("critical unknown extension in the intermediate", false, bundle_,
              under(with(asAuthority(), unknownCritical))),
        {"the authority's key named",
         true,
         bundle_,
         issue("named", &root_, withOnly({{"authorityKeyIdentifier", "keyid"}})),
         {}},
        {"a broken basicConstraints",
         false,
         bundle_,
         issue("broken", &root_, withOnly({{"basicConstraints", "DER:01:02:03"}})),
         {}},
        {"a broken subjectAltName under constraints",
         false,
         bundle_,
         under(constrained, withOnly({{"subjectAltName", "DER:01:02:03"}})).front(),
         {}},
    };
}

std::vector<Chain> LinuxCertVerifierChainsTest::chainsOfKeys() const {
    const TestCertificate rsaRoot = issue("RSA root", nullptr, keyed(newRsaKey(2048), asAuthority()));
    const KeyHandle small = newRsaKey(1024);
    const TestCertificate smallAuthority = issue("Small", &rsaRoot, keyed(small, asAuthority()));
    return {
        {"a key of 1024 bits", true, bundle_, issue("small", &root_, keyed(small)), {}},
        {"an authority with a key of 1024 bits",
         true,
         rsaRoot.pem(),
         issue("leaf", &smallAuthority),
         {smallAuthority}},
        {"SHA-1", true, rsaRoot.pem(), issue("sha1", &rsaRoot, digested("SHA1")), {}},
        {"SHA-1 over an EC key", true, bundle_, issue("sha1", &root_, digested("SHA1")), {}},
        {"MD5", true, rsaRoot.pem(), issue("md5", &rsaRoot, digested("MD5")), {}},
        {"SHA-512", true, rsaRoot.pem(), issue("sha512", &rsaRoot, digested("SHA512")), {}},
        {"two certificates of one serial number",
         true,
         bundle_,
         [&] {
             TestCertificateOptions options;
             options.serial = 7;
             issue("first", &root_, options);
             return issue("second", &root_, options);
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
        {"a root with trust settings that reject it", false, root_.rejectedPem(), server_, {authority_}},
        {"a revocation list in the bundle", true, bundle_ + root_.revocationListPem(), server_, {authority_}},
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
    for (const TestCertificate& certificate : chain.sent) {
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
