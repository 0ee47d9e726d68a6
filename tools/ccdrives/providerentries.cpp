#include "tools/ccdrives/providerentries.h"

#include <algorithm>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>

#include "tools/ccdrives/drivelist.h"
#include "util/stringutilities.h"

namespace ccdrives {
namespace {

using Kind = RegistryChange::Kind;
using Services = std::vector<std::string>;

Services servicesOf(const std::string& order) {
    Services services;
    if (!order.empty()) {
        boost::algorithm::split(services, order, boost::algorithm::is_any_of(","));
    }
    return services;
}

std::string upper(std::string text) {
    toUpper(text);
    return text;
}

bool isOurs(const std::string& service) { return upper(service) == upper(serviceName); }

bool isInOrder(const ProviderEntries& entries) {
    const Services services = servicesOf(entries.order.value_or(""));
    return std::any_of(services.begin(), services.end(), isOurs);
}

/// Whether the service describes a provider of another name. `install` enters the name first, and
/// `remove` takes it out last.
bool isOfAnotherProvider(const ProviderEntries& entries) {
    return entries.name ? entries.name != viewProvider : entries.library.has_value();
}

/// Returns what shows that another program has the service; empty if nothing does.
std::string signOfAnother(const ProviderEntries& entries) {
    if (isOfAnotherProvider(entries)) {
        return entries.name ? "its provider is '" + *entries.name + "'" : "it has 'ProviderPath'";
    }
    if (entries.name || entries.created) {
        return "";  // what `install` enters first, so that another program came later
    }
    const std::vector<std::string>& others =
        entries.othersInService.empty() ? entries.othersInProvider : entries.othersInService;
    return others.empty() ? "" : "it has '" + others.front() + "'";
}

void checkIsOurs(const ProviderEntries& entries) {
    const std::string sign = signOfAnother(entries);
    if (!sign.empty()) {
        throw RivalError(std::string("the service ") + serviceName + " is another program's: " +
                         sign + "; remove that program first, or what is left of it");
    }
}

/// Adds the change that sets a text, unless it is set.
void addText(RegistryChanges& changes, const char* key, const char* value, const std::string& text,
             const std::optional<std::string>& before) {
    if (before != text) {
        changes.push_back({Kind::set, key, value, text, before});
    }
}

/// Adds the change that removes a value, if it is there.
void addRemoval(RegistryChanges& changes, const char* key, const char* value,
                const std::optional<std::string>& before) {
    if (before) {
        changes.push_back({Kind::removeValue, key, value, {}, before});
    }
}

/// What has to be created for an order of providers, or an empty text.
std::string missingForOrder(const ProviderEntries& entries) {
    if (!entries.hasOrderParentKey) {
        return orderParentKey;
    }
    if (!entries.hasOrderKey) {
        return orderKey;
    }
    return entries.order ? "" : orderValue;
}

/// Adds the changes that take our service out of the order.
void addOrderWithoutUs(RegistryChanges& changes, const ProviderEntries& entries) {
    const std::string created = entries.created.value_or("");
    const std::string rest = withoutOurService(entries.order.value_or(""));
    if (!rest.empty() || created.empty()) {
        if (isInOrder(entries)) {
            addText(changes, orderKey, orderValue, rest, entries.order);
        }
        return;
    }
    addRemoval(changes, orderKey, orderValue, entries.order);
    if (created != orderValue && entries.hasOrderKey) {
        changes.push_back({Kind::removeKey, orderKey, {}, {}, {}});
    }
    if (created == orderParentKey && entries.hasOrderParentKey) {
        changes.push_back({Kind::removeKey, orderParentKey, {}, {}, {}});
    }
}

/// Adds the changes that take our service out.
void addRemovalOfService(RegistryChanges& changes, const ProviderEntries& entries) {
    addRemoval(changes, providerKey, "ProviderPath", entries.library);
    addRemoval(changes, providerKey, "Name", entries.name);
    const bool isProviderEmptied = entries.othersInProvider.empty();
    if (entries.hasProvider && isProviderEmptied) {
        changes.push_back({Kind::removeKey, providerKey, {}, {}, {}});
    }
    addRemoval(changes, serviceKey, createdValue, entries.created);
    if (entries.hasService && isProviderEmptied && entries.othersInService.empty()) {
        changes.push_back({Kind::removeKey, serviceKey, {}, {}, {}});
    }
}

}  // namespace

std::string withOurService(const std::string& order) {
    Services services = servicesOf(order);
    if (std::any_of(services.begin(), services.end(), isOurs)) {
        return order;
    }
    services.emplace_back(serviceName);
    return boost::algorithm::join(services, ",");
}

std::string withoutOurService(const std::string& order) {
    Services services = servicesOf(order);
    std::erase_if(services, isOurs);
    return boost::algorithm::join(services, ",");
}

RegistryChanges changesToInstall(const ProviderEntries& entries, const std::string& library) {
    if (!entries.rivals.empty()) {
        throw RivalError("the network provider '" + entries.rivals.front() + "' is " +
                         viewProvider + " already; remove it first, or use the drives that it has");
    }
    checkIsOurs(entries);
    RegistryChanges changes;
    const std::string missing = missingForOrder(entries);
    if (!missing.empty() && !entries.created) {
        addText(changes, serviceKey, createdValue, missing, entries.created);
    }
    addText(changes, providerKey, "Name", viewProvider, entries.name);
    addText(changes, providerKey, "ProviderPath", library, entries.library);
    addText(changes, orderKey, orderValue, withOurService(entries.order.value_or("")),
            entries.order);
    return changes;
}

RegistryChanges changesToRemove(const ProviderEntries& entries) {
    RegistryChanges changes;
    if (signOfAnother(entries).empty()) {
        addOrderWithoutUs(changes, entries);
        addRemovalOfService(changes, entries);
    }
    return changes;
}

std::string missingOf(const ProviderEntries& entries) {
    const bool isDescribed = entries.name == viewProvider && entries.library.has_value();
    return isDescribed && isInOrder(entries)
               ? ""
               : "the provider isn't installed; run ccdrives install as an administrator";
}

std::string lineOf(const RegistryChange& change) {
    switch (change.kind) {
        case Kind::set:
            return "set " + change.key + ", " + change.value + ": " + change.text +
                   (change.before ? " (was: " + *change.before + ")" : "");
        case Kind::removeValue:
            return "remove " + change.key + ", " + change.value +
                   " (was: " + change.before.value_or("") + ")";
        default:
            return "remove " + change.key + " if nothing is in it";
    }
}

}  // namespace ccdrives
