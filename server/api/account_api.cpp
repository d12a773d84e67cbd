#include "server/api/api.h"

#include "base/log.h"
#include "server/config/secrets.h"

namespace ravo::server::AccountApi {

HttpResponse me(ApiContext& context, const Caller& caller) {
    wire::CloudMe me = context.config.plan;
    me.email = caller.account.email;
    return jsonResponse(200, wire::toJson(me).dump());
}

HttpResponse deleteMe(ApiContext& context, const Caller& caller) {
    // Devices, sites and their statuses go with the account.
    if (auto removed = context.store.deleteAccount(caller.account.id); !removed)
        return storeFailure(removed.failure());
    log::info("server", "deleted account " + caller.account.id);
    return jsonResponse(200, "{}");
}

HttpResponse deleteDevice(ApiContext& context, const Caller& caller, const std::string& id) {
    if (!Secrets::isCanonicalUUID(id))
        return errorResponse(404, "not_found");
    const auto removed = context.store.deleteDevice(caller.account.id, id);
    if (!removed)
        return storeFailure(removed.failure());
    if (!*removed)
        return errorResponse(404, "not_found"); // another account's device looks the same
    return jsonResponse(200, "{}");
}

} // namespace ravo::server::AccountApi
