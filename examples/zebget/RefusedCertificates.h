#pragma once

namespace zebget {

/// Tells on standard error what the library found wrong with the certificates that it refused since the last
/// call.
void tellRefusedCertificates();

}  // namespace zebget
