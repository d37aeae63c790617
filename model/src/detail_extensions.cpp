// Placeholder until the extension rows land: a certificate shows no
// extension rows yet.
#include "pkiui/detail_model.hpp"

namespace pkiui {

void ShowCertDetailDlgModel::GetCertExtensions() {}

} // namespace pkiui
