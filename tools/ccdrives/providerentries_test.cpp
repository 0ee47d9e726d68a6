#include "tools/ccdrives/providerentries.h"

#include <gtest/gtest.h>

namespace {

using namespace ccdrives;
using Kind = RegistryChange::Kind;

/// A machine with providers of its own.
ProviderEntries otherProviders() {
    return {.hasOrderParentKey = true, .hasOrderKey = true, .order = "RDPNP,LanmanWorkstation"};
}

/// Returns the entries after the changes, as far as they say what will be there.
ProviderEntries after(ProviderEntries entries, const RegistryChanges& changes) {
    for (const RegistryChange& change : changes) {
        const auto text =
            change.kind == Kind::set ? std::optional(change.text) : std::optional<std::string>();
        if (change.key == orderKey && change.kind == Kind::removeKey) {
            entries.hasOrderKey = false;
        } else if (change.key == orderKey) {
            EXPECT_EQ(change.before, entries.order);
            entries.order = text;
            entries.hasOrderKey = entries.hasOrderParentKey = true;
        } else if (change.key == orderParentKey) {
            EXPECT_EQ(change.kind, Kind::removeKey);
            entries.hasOrderParentKey = false;
        } else if (change.kind == Kind::removeTree) {
            EXPECT_EQ(change.key, serviceKey);
            entries.hasService = false;
            entries.name = entries.library = entries.created = std::nullopt;
        } else {
            EXPECT_EQ(change.kind, Kind::set);
            entries.hasService = true;
            (change.value == "Name"           ? entries.name
             : change.value == "ProviderPath" ? entries.library
                                              : entries.created) = text;
        }
    }
    return entries;
}

void expectSame(const ProviderEntries& a, const ProviderEntries& b) {
    EXPECT_EQ(a.hasOrderParentKey, b.hasOrderParentKey);
    EXPECT_EQ(a.hasOrderKey, b.hasOrderKey);
    EXPECT_EQ(a.order, b.order);
    EXPECT_EQ(a.hasService, b.hasService);
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.library, b.library);
    EXPECT_EQ(a.created, b.created);
}

TEST(ProviderOrderTest, OurServiceIsAppendedUnlessItIsInTheList) {
    EXPECT_EQ(withOurService(""), "NbclearcaseDrives");
    EXPECT_EQ(withOurService("RDPNP,Other"), "RDPNP,Other,NbclearcaseDrives");
    EXPECT_EQ(withOurService("RDPNP,nbclearcasedrives,Other"), "RDPNP,nbclearcasedrives,Other");
    EXPECT_EQ(withOurService("NbclearcaseDrivesToo"), "NbclearcaseDrivesToo,NbclearcaseDrives");
    EXPECT_EQ(withOurService("a,,b, c ,"), "a,,b, c ,,NbclearcaseDrives");
}

TEST(ProviderOrderTest, OurServiceIsTakenOutAndTheOthersStay) {
    EXPECT_EQ(withoutOurService(""), "");
    EXPECT_EQ(withoutOurService("NbclearcaseDrives"), "");
    EXPECT_EQ(withoutOurService("RDPNP,nbclearcasedrives,Other"), "RDPNP,Other");
    EXPECT_EQ(withoutOurService("RDPNP,NbclearcaseDrivesToo"), "RDPNP,NbclearcaseDrivesToo");
    EXPECT_EQ(withoutOurService("a,,b, c ,,NbclearcaseDrives"), "a,,b, c ,");
}

TEST(ChangesToInstallTest, TheServiceIsDescribedBeforeTheOrderNamesIt) {
    const RegistryChanges changes = changesToInstall(otherProviders(), "C:\\a.dll");
    EXPECT_EQ(changes, (RegistryChanges{
                           {Kind::set, "Services\\NbclearcaseDrives\\NetworkProvider", "Name",
                            "ClearCase Dynamic Views", std::nullopt},
                           {Kind::set, "Services\\NbclearcaseDrives\\NetworkProvider",
                            "ProviderPath", "C:\\a.dll", std::nullopt},
                           {Kind::set, "Control\\NetworkProvider\\Order", "ProviderOrder",
                            "RDPNP,LanmanWorkstation,NbclearcaseDrives", "RDPNP,LanmanWorkstation"},
                       }));
}

TEST(ChangesToInstallTest, InstalledAgainNothingChanges) {
    const ProviderEntries installed =
        after(otherProviders(), changesToInstall(otherProviders(), "C:\\a.dll"));
    EXPECT_EQ(changesToInstall(installed, "C:\\a.dll"), RegistryChanges());
    EXPECT_EQ(
        changesToInstall(installed, "C:\\b.dll"),
        (RegistryChanges{{Kind::set, providerKey, "ProviderPath", "C:\\b.dll", "C:\\a.dll"}}));
}

TEST(ChangesToInstallTest, AnotherProviderOfTheNameIsRefused) {
    ProviderEntries entries = otherProviders();
    entries.rivals = {"Mvfs", "More"};
    try {
        static_cast<void>(changesToInstall(entries, "C:\\a.dll"));
        ADD_FAILURE() << "nothing is refused";
    } catch (const RivalError& error) {
        EXPECT_STREQ(error.what(),
                     "the network provider 'Mvfs' is ClearCase Dynamic Views already; remove it "
                     "first, or use the drives that it has");
    }
}

/// The states of a machine without our provider.
const ProviderEntries statesBefore[] = {
    {},
    {.hasOrderParentKey = true},
    {.hasOrderParentKey = true, .hasOrderKey = true},
    {.hasOrderParentKey = true, .hasOrderKey = true, .order = ""},
    {.hasOrderParentKey = true, .hasOrderKey = true, .order = "RDPNP"},
    {.hasOrderParentKey = true, .hasOrderKey = true, .order = "RDPNP, x,"},
};

TEST(ChangesToRemoveTest, WhatWasInstalledIsUndoneExactly) {
    for (const ProviderEntries& before : statesBefore) {
        const ProviderEntries installed = after(before, changesToInstall(before, "C:\\a.dll"));
        EXPECT_EQ(missingOf(installed), "");
        EXPECT_EQ(changesToInstall(installed, "C:\\a.dll"), RegistryChanges());
        expectSame(after(installed, changesToRemove(installed)), before);
        EXPECT_EQ(changesToRemove(before), RegistryChanges());
    }
}

TEST(ChangesToRemoveTest, WhatIsHalfInstalledIsUndoneToo) {
    for (const ProviderEntries& before : statesBefore) {
        const RegistryChanges changes = changesToInstall(before, "C:\\a.dll");
        for (size_t made = 0; made <= changes.size(); ++made) {
            const ProviderEntries half = after(
                before, {changes.begin(), changes.begin() + static_cast<std::ptrdiff_t>(made)});
            expectSame(after(half, changesToRemove(half)), before);
            const ProviderEntries whole = after(half, changesToInstall(half, "C:\\a.dll"));
            EXPECT_EQ(missingOf(whole), "");
            expectSame(after(whole, changesToRemove(whole)), before);
        }
    }
}

TEST(ChangesToRemoveTest, WhatIsHalfRemovedCanBeRemovedAndInstalled) {
    for (const ProviderEntries& before : statesBefore) {
        const ProviderEntries installed = after(before, changesToInstall(before, "C:\\a.dll"));
        const RegistryChanges changes = changesToRemove(installed);
        for (size_t made = 0; made <= changes.size(); ++made) {
            const ProviderEntries half = after(
                installed, {changes.begin(), changes.begin() + static_cast<std::ptrdiff_t>(made)});
            expectSame(after(half, changesToRemove(half)), before);
            const ProviderEntries whole = after(half, changesToInstall(half, "C:\\a.dll"));
            expectSame(after(whole, changesToRemove(whole)), before);
        }
    }
}

TEST(ChangesToRemoveTest, ProvidersThatCameLaterStay) {
    for (const ProviderEntries& before : statesBefore) {
        ProviderEntries entries = after(before, changesToInstall(before, "C:\\a.dll"));
        entries.order = *entries.order + ",Later";
        const ProviderEntries removed = after(entries, changesToRemove(entries));
        EXPECT_EQ(removed.order,
                  before.order.value_or("").empty() ? "Later" : *before.order + ",Later");
        EXPECT_TRUE(removed.hasOrderKey);
        EXPECT_FALSE(removed.hasService);
    }
}

TEST(MissingOfTest, EachPartOfTheEntryIsNeeded) {
    const ProviderEntries whole =
        after(otherProviders(), changesToInstall(otherProviders(), "C:\\a.dll"));
    EXPECT_EQ(missingOf(whole), "");
    ProviderEntries entries[] = {{}, whole, whole, whole, whole};
    entries[1].order = "RDPNP";
    entries[2].name = std::nullopt;
    entries[3].name = "Other";
    entries[4].library = std::nullopt;
    for (const ProviderEntries& row : entries) {
        EXPECT_EQ(missingOf(row),
                  "the provider isn't installed; run ccdrives install as an administrator");
    }
}

TEST(LineOfTest, EachKindOfChangeHasALine) {
    EXPECT_EQ(lineOf({Kind::set, "K", "V", "new", std::nullopt}), "set K, V: new");
    EXPECT_EQ(lineOf({Kind::set, "K", "V", "new", "old"}), "set K, V: new (was: old)");
    EXPECT_EQ(lineOf({Kind::removeValue, "K", "V", "", "old"}), "remove K, V (was: old)");
    EXPECT_EQ(lineOf({Kind::removeKey, "K", "", "", std::nullopt}), "remove K if nothing is in it");
    EXPECT_EQ(lineOf({Kind::removeTree, "K", "", "", std::nullopt}),
              "remove K and all that is in it");
}

}  // namespace
