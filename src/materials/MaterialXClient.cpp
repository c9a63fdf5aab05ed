#include "materials/MaterialXClient.h"

#include "services/Format.h"

namespace tw {

namespace {
std::unique_ptr<TMaterialXClient_Abstract>& Client() {
    static std::unique_ptr<TMaterialXClient_Abstract> client;
    return client;
}
} // namespace

TMaterialXClient_Abstract& TMaterialXClient_Abstract::Instance() {
    if (!Client())
        throw EMaterialXClientException(
            Format("%s is not instantiated yet", "TMaterialXClient_Abstract"));
    return *Client();
}

bool TMaterialXClient_Abstract::IsInstantiated() {
    return Client() != nullptr;
}

std::unique_ptr<TMaterialXClient_Abstract>
TMaterialXClient_Abstract::SetInstance(std::unique_ptr<TMaterialXClient_Abstract> client) {
    std::swap(Client(), client);
    return client;
}

TMaterialXClientTarnwick::TMaterialXClientTarnwick(TMaterialXClientGeometryType geometry,
                                                   bool flowAvailable)
    : FGeometry(geometry), FFlowAvailable(flowAvailable) {
    FVerticalAxis = geometry == mxcgt3D ? mxccaZAxis : mxccaYAxis;
}

} // namespace tw
