#include "checking_stack.h"

#include <cstdlib>

namespace tev {
namespace stress {

CheckingStack::CheckingStack() { tev::testing::SetCallbackSink(this); }

CheckingStack::~CheckingStack() { tev::testing::SetCallbackSink(nullptr); }

std::vector<std::string> CheckingStack::Breaches() const {
  std::vector<std::string> texts;
  for (const Checker::Breach& breach : checker_.Breaches()) texts.push_back(breach.ToString());
  return texts;
}

void CheckingStack::OnCallback(tev::testing::CallbackEvent event) {
  checker_.OnCallback(event);
  const auto id = [&](const char* field) { return static_cast<int>(event.Number(field)); };
  if (event.slot == "open_cb" || event.slot == "connection_cb") recent_conn_id_ = id("conn_id");
  if (event.slot == "register_client_cb") recent_client_if_ = id("client_if");
  if (event.slot == "register_server_cb") recent_server_if_ = id("server_if");
  if (event.Find("trans_id")) recent_trans_id_ = id("trans_id");
  // A characteristic handle from a database or a published service, for reads and writes.
  for (const tev::testing::Field& field : event.fields) {
    if (field.name.rfind("char:", 0) == 0) {
      recent_handle_ = std::atoi(field.value.c_str());
      break;
    }
  }
}

}  // namespace stress
}  // namespace tev
