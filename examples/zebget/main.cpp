/// zebget: the smallest host that behaves well. It shows how a client developer uses the library: start it
/// once, get a client from the factory, fill a request, run it synchronously or as a task, look at the result
/// before the response, clean up when the last client has gone.

#include "Arguments.h"
#include "CertificatePrompt.h"
#include "ConsoleListener.h"
#include "Interrupt.h"
#include "MakeRequest.h"
#include "MultiRun.h"
#include "ProxyPrompt.h"
#include "RefusedCertificates.h"
#include "TransferTimes.h"
#include "cert/common/CertVerifier.h"
#include "http/BasicHttpClient.h"
#include "http/HttpRequestOptions.h"
#include "http/ProxyAuthenticationHandler.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"
#include "zeblogger/ZEBLogger.h"

#include <chrono>
#include <cstdio>
#include <future>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using zeb::http::BasicHttpClient;
using zeb::http::HttpClientError;
using zeb::http::HttpClientResult;
using zeb::http::Request;
using zebget::Arguments;
using zebget::ConsoleListener;
using zebget::TransferTimes;
using Outcome = ConsoleListener::Outcome;

HttpClientError::Error enqueue(BasicHttpClient& client, const Arguments& arguments,
                               const std::shared_ptr<Request>& request) {
    unsigned int id = 0;
    if (arguments.downloadTo) {
        return client.downloadAsync(request, id, *arguments.downloadTo);
    }
    if (arguments.uploadFile) {
        return client.uploadAsync(request, id, *arguments.uploadFile);
    }
    return client.executeAsync(request, id);
}

Outcome run(BasicHttpClient& client, const Arguments& arguments, const std::shared_ptr<Request>& request,
            ConsoleListener& listener) {
    const bool fileTransfer = arguments.downloadTo || arguments.uploadFile;
    if (!arguments.async && !fileTransfer) {
        Outcome outcome{};
        outcome.result = client.execute(request, outcome.response);
        return outcome;
    }
    const HttpClientError::Error error = enqueue(client, arguments, request);
    if (error != HttpClientError::SUCCESS) {
        std::cerr << "zebget: the request was not accepted: " << error << "\n";
        return {HttpClientResult::UNKNOWN_ERROR, {}};
    }
    return listener.wait();
}

/// The body to standard output; who answered what, and how it ended, to standard error.
void report(const Outcome& outcome, const Request& request) {
    std::cerr << outcome.result;
    if (outcome.result == HttpClientResult::SUCCESS) {
        std::cout << outcome.response.body << std::flush;
        std::cerr << ": HTTP " << outcome.response.responseCode << " from " << request.getOptions()->url;
        if (!outcome.response.destinationIpAddress.isEmpty()) {
            std::cerr << " at " << outcome.response.destinationIpAddress.getAddress();
        }
    }
    std::cerr << "\n";
    if (outcome.result == HttpClientResult::CERTIFICATE_VALIDATION_ERROR) {
        zebget::tellRefusedCertificates();
    }
}

/// The handler of proxy credentials keeps its callbacks as long as the process lives.
std::shared_ptr<zebget::ProxyPrompt> answerProxies(const Arguments& arguments) {
    auto prompt = std::make_shared<zebget::ProxyPrompt>(arguments.proxyUser, arguments.proxyPassword);
    zeb::http::ProxyAuthenticationHandler::getInstance()->registerProxyAuthenticationCallback(prompt);
    return prompt;
}

/// One URL, with a client of its own: a client runs one transfer at a time.
Outcome runOne(const Arguments& arguments, const std::shared_ptr<zeb::cert::CertVerifier>& verifier,
               const std::shared_ptr<Request>& request) {
    const std::shared_ptr<BasicHttpClient> client =
        zeb::netutils::NetUtilsFactory().createBasicHttpClient(verifier);
    const auto listener = std::make_shared<ConsoleListener>(
        arguments.progress || (arguments.urls.size() == 1 && isatty(STDERR_FILENO) != 0));
    request->setListener(listener);
    return run(*client, arguments, request, *listener);
}

/// All at once. They share the verifier, and so what the user decides.
std::vector<Outcome> runAll(const Arguments& arguments,
                            const std::vector<std::shared_ptr<Request>>& requests) {
    const auto verifier = zebget::makeVerifier(arguments.insecurePolicy);
    std::vector<std::future<Outcome>> others;
    for (auto request = std::next(requests.begin()); request != requests.end(); ++request) {
        others.push_back(
            std::async(std::launch::async, [&, request] { return runOne(arguments, verifier, *request); }));
    }
    std::vector<Outcome> outcomes{runOne(arguments, verifier, requests.front())};
    for (std::future<Outcome>& other : others) {
        outcomes.push_back(other.get());
    }
    return outcomes;
}

int runHost(const Arguments& arguments, zebget::Interrupt& interrupt) {
    const std::shared_ptr<zebget::ProxyPrompt> prompt = answerProxies(arguments);
    if (arguments.multiFile) {
        const int status = zebget::runMulti(arguments, interrupt);
        prompt->finish();
        return status;
    }
    const auto times = arguments.timing ? TransferTimes::listen(arguments.verbose) : nullptr;
    std::vector<std::shared_ptr<Request>> requests;
    for (const std::string& url : arguments.urls) {
        requests.push_back(zebget::makeRequest(arguments, url));
    }
    interrupt.doFirst([requests] {
        for (const std::shared_ptr<Request>& request : requests) {
            request->cancel();
        }
    });
    const auto began = std::chrono::steady_clock::now();
    const std::vector<Outcome> outcomes = runAll(arguments, requests);
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - began;
    interrupt.doFirst(nullptr);
    prompt->finish();
    int exitStatus = 0;
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        report(outcomes[i], *requests[i]);
        exitStatus = exitStatus == 0 ? static_cast<int>(outcomes[i].result) : exitStatus;
    }
    if (times != nullptr) {
        for (const std::string& line : times->lines()) {
            std::cerr << line << "\n";
        }
        std::cerr << "It took " << took.count() << " ms.\n";
    }
    return exitStatus;
}

}  // namespace

int main(int argc, char** argv) {
    int exitStatus = 0;
    const std::unique_ptr<Arguments> arguments = zebget::parseArguments(argc, argv, exitStatus);
    if (arguments == nullptr) {
        return exitStatus;
    }
    zebget::Interrupt interrupt;
    // What went wrong is told by the result; the log is for those who ask for it.
    LogController::getInstance()->setLevel(arguments->verbose ? ZEBLOG_INFO : 0);
    if (zeb::netutils::GlobalInit() != 0) {
        std::cerr << "zebget: the library could not be started\n";
        return EXIT_FAILURE;
    }
    exitStatus = runHost(*arguments, interrupt);
    zeb::netutils::GlobalCleanup();
    return exitStatus;
}
