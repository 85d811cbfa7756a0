#pragma once

// The stack double's tables, events and contract checker, named as the driver uses them.
#include "tev/testing/stack/callback_event.h"
#include "tev/testing/stack/callback_schemas.h"
#include "tev/testing/stack/contract_checker.h"
#include "tev/testing/stack/fields.h"
#include "tev/testing/stack/stack_tables.h"

namespace tev {
namespace bttev {

using testing::AddressField;
using testing::BytesField;
using testing::CallbackEvent;
using testing::CallbackSchema;
using testing::CallbackSchemas;
using testing::CallbackSink;
using testing::ContractChecker;
using testing::CurrentThread;
using testing::Field;
using testing::FieldKind;
using testing::HexText;
using testing::NumberField;
using testing::PropertyTypeName;
using testing::ReadPhyCallback;
using testing::ScanFilterEnableCallback;
using testing::ScannerRegisteredCallback;
using testing::ScannerStatusCallback;
using testing::SetCallbackSink;
using testing::SetCurrentThreadName;
using testing::StatusLabel;
using testing::Table;
using testing::TableGroup;
using testing::TablePrefix;
using testing::TextField;
using testing::ThreadRef;
using testing::UuidField;
using testing::UuidText;
using testing::ValueText;

}  // namespace bttev
}  // namespace tev
