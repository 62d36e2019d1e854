/// zebget: the smallest host that behaves well. It shows how a client developer uses the library: start it
/// once, get a client from the factory, fill a request, run it synchronously or as a task, look at the result
/// before the response, clean up when the last client has gone.

#include "Arguments.h"
#include "ConsoleListener.h"
#include "MakeRequest.h"
#include "MultiRun.h"
#include "ProxyPrompt.h"
#include "http/BasicHttpClient.h"
#include "http/HttpRequestOptions.h"
#include "http/ProxyAuthenticationHandler.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"
#include "zeblogger/ZEBLogger.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

using zeb::http::BasicHttpClient;
using zeb::http::HttpClientError;
using zeb::http::HttpClientResult;
using zeb::http::Request;
using zebget::Arguments;
using zebget::ConsoleListener;
using Outcome = ConsoleListener::Outcome;

Request* runningRequest = nullptr;

/// Ctrl-C: the transfer ends with REQUEST_CANCELLED, and all ends as it always does. cancel() sets an atomic
/// flag and nothing else, so a signal handler may call it.
void cancelOnInterrupt(int /*signal*/) {
    if (runningRequest != nullptr) {
        runningRequest->cancel();
    }
}

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
}

/// The handler of proxy credentials keeps its callbacks as long as the process lives.
std::shared_ptr<zebget::ProxyPrompt> answerProxies(const Arguments& arguments) {
    auto prompt = std::make_shared<zebget::ProxyPrompt>(arguments.proxyUser, arguments.proxyPassword);
    zeb::http::ProxyAuthenticationHandler::getInstance()->registerProxyAuthenticationCallback(prompt);
    return prompt;
}

int runHost(const Arguments& arguments) {
    const std::shared_ptr<zebget::ProxyPrompt> prompt = answerProxies(arguments);
    if (arguments.multiFile) {
        const int status = zebget::runMulti(arguments);
        prompt->finish();
        return status;
    }
    zeb::netutils::NetUtilsFactory factory;
    const std::shared_ptr<BasicHttpClient> client = factory.createBasicHttpClient();
    const auto listener = std::make_shared<ConsoleListener>(arguments.progress || isatty(STDERR_FILENO) != 0);
    const std::shared_ptr<Request> request = zebget::makeRequest(arguments);
    request->setListener(listener);
    runningRequest = request.get();
    std::signal(SIGINT, cancelOnInterrupt);
    const auto began = std::chrono::steady_clock::now();
    const Outcome outcome = run(*client, arguments, request, *listener);
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - began;
    std::signal(SIGINT, SIG_DFL);
    runningRequest = nullptr;
    prompt->finish();
    report(outcome, *request);
    if (arguments.timing) {
        std::cerr << "It took " << took.count() << " ms.\n";
    }
    return static_cast<int>(outcome.result);
}

}  // namespace

int main(int argc, char** argv) {
    int exitStatus = 0;
    const std::unique_ptr<Arguments> arguments = zebget::parseArguments(argc, argv, exitStatus);
    if (arguments == nullptr) {
        return exitStatus;
    }
    // What went wrong is told by the result; the log is for those who ask for it.
    LogController::getInstance()->setLevel(arguments->verbose ? ZEBLOG_INFO : 0);
    if (zeb::netutils::GlobalInit() != 0) {
        std::cerr << "zebget: the library could not be started\n";
        return EXIT_FAILURE;
    }
    exitStatus = runHost(*arguments);
    zeb::netutils::GlobalCleanup();
    return exitStatus;
}
