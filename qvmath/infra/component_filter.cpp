// SPDX-License-Identifier: MIT
#include <qvmath/infra/component_filter.h>

namespace KvF {

IComponentFilter::~IComponentFilter() = default;

CComponentFilterStub::~CComponentFilterStub() = default;

std::int64_t CComponentFilterStub::OnSave() { return 0; }

std::int64_t CComponentFilterStub::OnLoad(IDeltaStateLogger&) { return 0; }

std::wstring CComponentFilterStub::OnGetComponentName() const { return m_name; }

std::string CComponentFilterStub::OnGetBlockMark() const { return "STUB"; }

int CComponentFilterStub::OnGetVersion() const { return 0; }

IKorvaBinaryStream& CComponentFilterStub::OnGetStream() { return *m_stream; }

}  // namespace KvF
