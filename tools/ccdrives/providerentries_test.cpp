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
        } else if (change.kind == Kind::removeKey && change.key == providerKey) {
            EXPECT_FALSE(entries.name || entries.library) << "the key isn't empty";
            entries.hasProvider = false;
        } else if (change.kind == Kind::removeKey) {
            EXPECT_EQ(change.key, serviceKey);
            EXPECT_FALSE(entries.hasProvider || entries.created) << "the key isn't empty";
            entries.hasService = false;
        } else {
            std::optional<std::string>& value = change.value == "Name"           ? entries.name
                                                : change.value == "ProviderPath" ? entries.library
                                                                                 : entries.created;
            EXPECT_EQ(change.key, change.value == createdValue ? serviceKey : providerKey);
            EXPECT_EQ(change.before, value);
            value = text;
            entries.hasProvider = entries.hasProvider || change.key == providerKey;
            entries.hasService = true;
        }
    }
    return entries;
}

void expectSame(const ProviderEntries& a, const ProviderEntries& b) {
    EXPECT_EQ(a.hasOrderParentKey, b.hasOrderParentKey);
    EXPECT_EQ(a.hasOrderKey, b.hasOrderKey);
    EXPECT_EQ(a.order, b.order);
    EXPECT_EQ(a.hasService, b.hasService);
    EXPECT_EQ(a.hasProvider, b.hasProvider);
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

TEST(ProviderOrderTest, BlanksInTheOrderArePartsOfTheNames) {
    EXPECT_EQ(withOurService("RDPNP, NbclearcaseDrives"),
              "RDPNP, NbclearcaseDrives,NbclearcaseDrives");
    EXPECT_EQ(withoutOurService(" RDPNP ,NbclearcaseDrives,NbclearcaseDrives , b"),
              " RDPNP ,NbclearcaseDrives , b");
    EXPECT_EQ(withoutOurService(" "), " ");
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
    const ProviderEntries entered =
        after(otherProviders(), changesToInstall(otherProviders(), "C:\\a.dll"));
    EXPECT_EQ(changesToInstall(entered, "C:\\a.dll"), RegistryChanges());
    EXPECT_EQ(
        changesToInstall(entered, "C:\\b.dll"),
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

/// Returns why `install` is refused, or "(nothing)".
std::string refusal(const ProviderEntries& entries) {
    try {
        static_cast<void>(changesToInstall(entries, "C:\\a.dll"));
    } catch (const RivalError& error) {
        return error.what();
    }
    return "(nothing)";
}

/// Returns a machine where our provider is entered.
ProviderEntries installed() {
    return after(otherProviders(), changesToInstall(otherProviders(), "C:\\a.dll"));
}

TEST(ChangesToInstallTest, AServiceOfAnotherProgramIsRefused) {
    const auto refusalFor = [](const std::string& reason) {
        return "the service NbclearcaseDrives is another program's: " + reason +
               "; remove that program first, or what is left of it";
    };
    ProviderEntries entries = otherProviders();
    entries.hasService = true;
    EXPECT_EQ(refusal(entries), "(nothing)") << "an empty key";
    entries.hasProvider = true;
    EXPECT_EQ(refusal(entries), "(nothing)") << "empty keys";
    entries.library = "C:\\other.dll";
    EXPECT_EQ(refusal(entries), refusalFor("it has 'ProviderPath'"));
    entries.name = "Other";
    EXPECT_EQ(refusal(entries), refusalFor("its provider is 'Other'"));
    entries = otherProviders();
    entries.othersInProvider = {"DeviceName"};
    EXPECT_EQ(refusal(entries), refusalFor("it has 'DeviceName'"));
    entries.othersInService = {"ImagePath", "Parameters"};
    EXPECT_EQ(refusal(entries), refusalFor("it has 'ImagePath'"));
}

TEST(ChangesToInstallTest, WhatOthersAddToOurServiceLeavesItOurs) {
    ProviderEntries entries = installed();
    entries.othersInService = {"ImagePath"};
    entries.othersInProvider = {"DeviceName"};
    EXPECT_EQ(changesToInstall(entries, "C:\\a.dll"), RegistryChanges());
    EXPECT_EQ(after(entries, changesToInstall(entries, "C:\\b.dll")).library, "C:\\b.dll");
    entries.name = std::nullopt;  // install was stopped before it
    entries.library = std::nullopt;
    entries.created = orderValue;
    EXPECT_EQ(refusal(entries), "(nothing)");
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
        const ProviderEntries entered = after(before, changesToInstall(before, "C:\\a.dll"));
        EXPECT_EQ(missingOf(entered), "");
        EXPECT_EQ(changesToInstall(entered, "C:\\a.dll"), RegistryChanges());
        expectSame(after(entered, changesToRemove(entered)), before);
        EXPECT_EQ(changesToRemove(before), RegistryChanges());
    }
}

TEST(ChangesToRemoveTest, ValuesAreTakenOutBeforeTheirKeys) {
    const ProviderEntries before{};
    const ProviderEntries entries = after(before, changesToInstall(before, "C:\\a.dll"));
    EXPECT_EQ(changesToRemove(entries),
              (RegistryChanges{
                  {Kind::removeValue, "Control\\NetworkProvider\\Order", "ProviderOrder", "",
                   "NbclearcaseDrives"},
                  {Kind::removeKey, "Control\\NetworkProvider\\Order"},
                  {Kind::removeKey, "Control\\NetworkProvider"},
                  {Kind::removeValue, "Services\\NbclearcaseDrives\\NetworkProvider",
                   "ProviderPath", "", "C:\\a.dll"},
                  {Kind::removeValue, "Services\\NbclearcaseDrives\\NetworkProvider", "Name", "",
                   "ClearCase Dynamic Views"},
                  {Kind::removeKey, "Services\\NbclearcaseDrives\\NetworkProvider"},
                  {Kind::removeValue, "Services\\NbclearcaseDrives", "OrderCreated", "",
                   "Control\\NetworkProvider"},
                  {Kind::removeKey, "Services\\NbclearcaseDrives"},
              }));
}

TEST(ChangesToRemoveTest, AServiceOfAnotherProviderStaysAsItIs) {
    ProviderEntries entries = installed();
    entries.name = "Other";
    EXPECT_EQ(changesToRemove(entries), RegistryChanges());
    entries.name = std::nullopt;
    EXPECT_EQ(changesToRemove(entries), RegistryChanges());
    entries.library = std::nullopt;
    entries.created = std::nullopt;
    entries.othersInService = {"ImagePath"};
    EXPECT_EQ(changesToRemove(entries), RegistryChanges()) << "it is in the order";
}

TEST(ChangesToRemoveTest, WhatOthersHaveEnteredStaysWithItsKeys) {
    ProviderEntries entries = installed();
    entries.othersInProvider = {"DeviceName"};
    ProviderEntries removed = after(entries, changesToRemove(entries));
    EXPECT_TRUE(removed.hasService && removed.hasProvider);
    EXPECT_EQ(removed.order, otherProviders().order);
    EXPECT_FALSE(removed.name || removed.library || removed.created);
    EXPECT_EQ(changesToRemove(removed), RegistryChanges());

    entries = installed();
    entries.othersInService = {"ImagePath"};
    removed = after(entries, changesToRemove(entries));
    EXPECT_TRUE(removed.hasService);
    EXPECT_FALSE(removed.hasProvider);
    EXPECT_EQ(changesToRemove(removed), RegistryChanges());
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
        const ProviderEntries entered = after(before, changesToInstall(before, "C:\\a.dll"));
        const RegistryChanges changes = changesToRemove(entered);
        for (size_t made = 0; made <= changes.size(); ++made) {
            const ProviderEntries half = after(
                entered, {changes.begin(), changes.begin() + static_cast<std::ptrdiff_t>(made)});
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
}

}  // namespace
