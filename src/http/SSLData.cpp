#include "http/SSLData.h"

namespace zeb::http {

void SSLData::resetIdentifierToDisplay() {
    identifierToDisplay.clear();
    identifierToDisplayDefaulted = false;
}

void SSLData::resetReferenceIdentifiers() {
    referenceIdentifiersDefaulted = false;
    referenceIdentifiers.clear();
    resetServerCurlFQDN();
}

void SSLData::resetServerCurlFQDN() {
    serverCurlFQDN.clear();
}

}  // namespace zeb::http
