#pragma once

#include "common/Policy.h"
#include "common/PolicyDriven.h"
#include "http/EdgeTransformer.h"

#include <memory>
#include <set>
#include <string>

namespace zeb::http {

class HttpClientData;
class HttpRequestData;
struct Response;

/// The steps that the basic and the multi client take alike on the road of a request. Each belongs to the
/// thread that has the request at the time. Where there is a `prefix`, the lines in the log begin with it.
class RequestSteps {
public:
    using TransformResult = EdgeTransformer::TransformRequestResult;
    using EnforcingResult = common::Policy::PolicyEnforcingResult;

    /// The URL for a log line.
    static std::string hiddenUrl(const HttpRequestData& requestData);
    /// No policy of the nature asked for is set.
    static bool isUnknown(const std::shared_ptr<common::Policy>& policy);

    /// What a client does until the host adds policies of its own: no edge, soft failures ignored, both
    /// address families, the usual ciphers.
    static std::set<std::shared_ptr<common::Policy>> defaultPolicies();

    // Before the transfer.
    /// Hands on the policies that act on the handle. `noCommonCriteria` is the log's line when the second is
    /// missing: each client has its own.
    static void setPoliciesToRequestData(const common::PolicyDriven& client,
                                         const common::PolicyDriven::FailureJudge& judge,
                                         HttpRequestData& requestData, const char* noCommonCriteria,
                                         const std::string& prefix = {});
    /// Adds the header, or fills an empty one; one with a value stands.
    static void setUserAgentToRequestData(HttpRequestData& requestData, const std::string& prefix = {});
    static EnforcingResult::EnforcingResult enforceEdge(const std::shared_ptr<common::Policy>& policy,
                                                        const std::shared_ptr<HttpRequestData>& requestData,
                                                        const HttpClientData& clientData);
    static bool isAuthenticationFailure(TransformResult::Result result);
    /// Writes the answer that stands for a failed authentication at the edge, with its line in the log.
    static void fabricateAuthenticationFailure(TransformResult::Result result, Response& response,
                                               const std::string& prefix = {});
    /// What a further attempt must not inherit from the one before. Redirects stay: every one seen is told.
    static void forgetFormerAttempt(HttpRequestData& requestData);

    // After it.
    /// What libcurl's answer (a `CURLcode`) stands for once the request's own state is looked at: a header or
    /// write callback that saw the cancellation can't say so by any other code than that of a full disk, and
    /// a download that can't be written to its end shows only when its file is closed, here.
    static int settleCode(int curlCode, HttpRequestData& requestData);
    /// Of a completed transfer: the URL it was transformed to, the addresses, the cookies. What can't be had
    /// is logged; the transfer counts as a success all the same.
    static void collectAnswer(const HttpClientData& clientData,
                              const std::shared_ptr<HttpRequestData>& requestData,
                              const std::string& prefix = {});
    /// By the edge policy of the client that the request went with.
    static void removeTransformedCookies(const std::shared_ptr<common::Policy>& policy,
                                         const HttpClientData& clientData, HttpRequestData& requestData,
                                         const std::string& prefix = {});
    static void closeFiles(HttpRequestData& requestData);
};

}  // namespace zeb::http
