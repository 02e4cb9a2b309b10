#pragma once

#include "settings/RemoteConfiguration.h"
#include "shell/Diagnosis.h"

#include <vector>

namespace fenlo {

class HttpClient;
class SecureStore;
struct Deployment;

/// What `fenlo doctor` says of the deployment's own service, and the service's configuration, which may have keys. Says
/// and asks nothing where there is none. Registers nothing; waits five seconds at most.
RemoteConfiguration::Values diagnoseService(std::vector<Diagnosis>& findings, const Deployment& deployment,
                                            SecureStore& store, HttpClient& http);

} // namespace fenlo
