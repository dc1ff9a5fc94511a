// Components by name, strings, variants, page collections and geometries.
#include <climits>
#include <cmath>
#include <limits>

#include "tests/framework/FrameworkTest.h"

namespace {

TEST_F(FrameworkTest, TheGlobalCollectionCreatesEveryClassItLists) {
    const auto components = GLOBALComponents();
    const auto listing = SmartPtr<IListing>::QueryFrom(components.Get());
    ASSERT_TRUE(listing);
    EXPECT_EQ(listing->GetCount(), 15);
    for (int i = 0; i < listing->GetCount(); ++i) {
        tagREFString name{0, nullptr};
        ASSERT_EQ(listing->GetName(i, &name), S_OK);
        const std::string label(name.text, name.text + name.length);
        int found = -1;
        SmartPtr<IUnknown> item;
        ASSERT_EQ(components->FindByName(String(TextOf(name)).Get(), &found), S_OK) << label;
        EXPECT_EQ(found, i) << label;
        ASSERT_EQ(components->GetItem(i, item.Receive()), S_OK) << label;
        SmartPtr<IObjectInfo> described;
        const auto descriptor = SmartPtr<IComponentString>::QueryFrom(item.Get());
        descriptor->CreateInstance(IID_IObjectInfo, described.ReceiveVoid());
        const auto created = CreateComponent<IObjectInfo>(name);
        ASSERT_TRUE(described && created) << label;
        tagREFString registered{0, nullptr};
        created->GetName(0, &registered);
        EXPECT_TRUE(registered == name) << label;
    }
}

TEST_F(FrameworkTest, WhatIsNotListedIsNotCreated) {
    const auto components = GLOBALComponents();
    for (const auto* name : {L"", L"variant", L"Variant ", L"ComponentString"}) {
        void* out = this;
        int index = 0;
        EXPECT_TRUE(Failed(components->CreateComponent(Record(name), IID_IUnknown, &out)));
        EXPECT_EQ(out, nullptr);
        EXPECT_TRUE(Failed(components->FindByName(String(name).Get(), &index)));
    }
    void* out = this;
    EXPECT_EQ(components->CreateComponent(Text(L"Variant"), IID_ICIF, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST_F(FrameworkTest, ADescriptorFollowsItsFieldsWhenTheyChange) {
    SmartPtr<IComponentString> descriptor;
    const auto create = MODULECreateFunction(Text(L"CollectionsEx"), Text(L"ComponentString"));
    ASSERT_EQ(create(nullptr, &IID_IComponentString, descriptor.ReceiveVoid()), S_OK);
    descriptor->SetString(kDescriptorModuleName, Text(L"Collections"));
    SmartPtr<IUnknown> made;
    EXPECT_TRUE(Failed(descriptor->CreateInstance(IID_IUnknown, made.ReceiveVoid())));
    descriptor->SetString(kDescriptorClassName, Text(L"Variant"));
    EXPECT_EQ(descriptor->CreateInstance(IID_IVariant, made.ReceiveVoid()), S_OK);
    descriptor->SetString(kDescriptorClassName, Text(L"CreatableString"));
    EXPECT_EQ(descriptor->CreateInstance(IID_IString, made.ReceiveVoid()), S_OK);
}

TEST_F(FrameworkTest, AStringMayBeBuiltFromItself) {
    const auto string = String(L"ab");
    for (int length = 2; length < 200; length *= 2) {
        tagREFString own{0, nullptr};
        string->GetText(&own.text, &own.length);
        ASSERT_EQ(string->Append(own.length, own.text), S_OK);
    }
    EXPECT_EQ(TextOf(*string).size(), 256u);
    EXPECT_EQ(TextOf(*string).find(L"aa"), std::wstring::npos);
    tagREFString own{0, nullptr};
    string->GetText(&own.text, &own.length);
    ASSERT_EQ(string->SetText(3, own.text + 1), S_OK);
    EXPECT_EQ(TextOf(*string), L"bab");
}

TEST_F(FrameworkTest, AVariantConvertsWhatItHolds) {
    const auto variant = CREFString::CreateVariant();
    const auto store = SmartPtr<IVariantStore>::QueryFrom(variant.Get());
    const struct {
        double held;
        int integer;
    } rows[] = {{-2.9, -2}, {1e10, INT_MIN}, {std::nan(""), INT_MIN}, {-0.0, 0}};
    EXPECT_EQ(variant->GetKind(), kVariantNone);
    for (const auto& row : rows) {
        variant->SetDouble(row.held);
        EXPECT_EQ(variant->GetKind(), kVariantDouble);
        EXPECT_EQ(variant->GetInteger(), row.integer) << row.held;
    }
    variant->SetInteger(INT_MIN);
    EXPECT_EQ(variant->GetKind(), kVariantInteger);
    EXPECT_EQ(variant->GetDouble(), static_cast<double>(INT_MIN));
    SmartPtr<IUnknown> held;
    EXPECT_TRUE(Failed(variant->GetString(held.Receive())));
    store->PutString(String(L" 12.5mm").Get());
    EXPECT_EQ(variant->GetKind(), kVariantNone);
    EXPECT_NE(variant->HasString(), 0);
    EXPECT_EQ(variant->GetDouble(), 12.5);
    EXPECT_EQ(variant->GetString(held.Receive()), S_OK);
    EXPECT_TRUE(Failed(variant->GetObject(held.Receive())));
    store->PutObject(String(L"7").Get());
    EXPECT_EQ(variant->HasString(), 0);
    EXPECT_EQ(variant->GetObject(held.Receive()), S_OK);
}

TEST_F(FrameworkTest, PagesAreListedAsTheyWereAdded) {
    const auto pages = CREFString::CreateCollection();
    const std::wstring longName(100, L'x');
    ASSERT_EQ(pages->AddPage(String(L"Rectangle").Get(), String(L"Page").Get(), String(longName).Get(), 0), S_OK);
    const auto listing = SmartPtr<IPageListing>::QueryFrom(pages.Get());
    tagREFString texts[3];
    ASSERT_EQ(listing->GetCount(), 1);
    ASSERT_EQ(listing->GetPage(0, &texts[0], &texts[1], &texts[2]), S_OK);
    EXPECT_EQ(TextOf(texts[0]) + TextOf(texts[1]) + TextOf(texts[2]), L"RectanglePage" + longName);
    EXPECT_EQ(listing->GetPage(1, &texts[0], &texts[1], &texts[2]), E_INVALIDARG);
}

TEST_F(FrameworkTest, AnAssemblyHandsOutTheExtentOfItsPoints) {
    const auto geometry = CreateComponent<IGeometry>(Text(L"Assembly"));
    const auto assembly = SmartPtr<IGeometricAssembly>::QueryFrom(geometry.Get());
    const auto points = SmartPtr<IPointsStore>::QueryFrom(geometry.Get());
    SmartPtr<IPoints> extent;
    EXPECT_EQ(assembly->GetElement(kGeometricExtent, extent.Receive()), E_FAIL);
    const double xy[] = {10.5, 20.0, 3.5, 5.0, 7.0, 30.0};
    ASSERT_EQ(points->SetPoints(xy, 3), S_OK);
    const double broken[] = {1.0, std::numeric_limits<double>::infinity()};
    EXPECT_EQ(points->SetPoints(broken, 1), E_INVALIDARG);
    EXPECT_EQ(points->SetPoints(xy, 0), E_INVALIDARG);
    EXPECT_EQ(points->GetCount(), 3);
    ASSERT_EQ(assembly->GetElement(kGeometricExtent, extent.Receive()), S_OK);
    const double expected[][2] = {{3.5, 5.0}, {10.5, 30.0}, {7.0, 17.5}};
    double x = 0.0;
    double y = 0.0;
    double z = 1.0;
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(extent->GetPoint(i, &x, &y, &z), S_OK);
        EXPECT_EQ(x, expected[i][0]);
        EXPECT_EQ(y, expected[i][1]);
        EXPECT_EQ(z, 0.0);
    }
    EXPECT_EQ(extent->GetPoint(3, &x, &y, &z), E_INVALIDARG);
}

TEST_F(FrameworkTest, MisuseFailsAndIsSaidAloud) {
    const auto string = String(L"x");
    const auto variant = CREFString::CreateVariant();
    const auto pages = CREFString::CreateCollection();
    const auto list = BASEObject::CreateParameters();
    const auto image = CreateComponent<ICIF>(Text(L"CIFImageCANVAS"));
    const auto graphics = CreateComponent<ICIFGraphics>(Text(L"CIFGraphics"));
    const auto assembly = CreateComponent<IGeometricAssembly>(Text(L"Assembly"));
    const auto components = GLOBALComponents();
    const auto persist = SmartPtr<IDataPersist>::QueryFrom(list.Get());
    IPoints* element = nullptr;
    int index = 0;
    ExpectMisuse("null text", [&] { return string->SetText(1, nullptr); });
    ExpectMisuse("negative length", [&] { return string->Append(-1, L"x"); });
    ExpectMisuse("null output", [&] { return string->GetText(nullptr, &index); });
    ExpectMisuse("null object output", [&] { return variant->GetObject(nullptr); });
    ExpectMisuse("unused slot", [&] { return variant->Slot8(); });
    ExpectMisuse("page without key", [&] { return pages->AddPage(nullptr, string.Get(), string.Get(), 0); });
    ExpectMisuse("page with 1", [&] { return pages->AddPage(string.Get(), string.Get(), string.Get(), 1); });
    ExpectMisuse("value without name", [&] { return list->Add(nullptr, variant.Get(), 0, 0); });
    ExpectMisuse("value null", [&] { return list->Add(string.Get(), nullptr, 0, 0); });
    ExpectMisuse("value with 1", [&] { return list->Add(string.Get(), variant.Get(), 1, 0); });
    ExpectMisuse("search for null", [&] { return list->FindByName(nullptr, &index); });
    ExpectMisuse("save to null", [&] { return persist->Save(nullptr, 0); });
    ExpectMisuse("load from null", [&] { return persist->Load(nullptr, 0); });
    ExpectMisuse("item nowhere", [&] { return components->GetItem(0, nullptr); });
    ExpectMisuse("component nowhere",
                 [&] { return components->CreateComponent(Text(L"Variant"), IID_IVariant, nullptr); });
    ExpectMisuse("wrong planes", [&] { return image->Create(2, 2, 3, 8, kFormatMono); });
    ExpectMisuse("wrong format", [&] { return image->Create(2, 2, 1, 8, 0); });
    ExpectMisuse("null image", [&] { return graphics->Attach(nullptr); });
    ExpectMisuse("fill mode", [&] { return graphics->FloodFill(0, 0, 1); });
    ExpectMisuse("arc mode", [&] { return graphics->Arc(1, 1, 1, 1, 0, 1, 0); });
    ExpectMisuse("element kind", [&] { return assembly->GetElement(2, &element); });
}

}  // namespace
