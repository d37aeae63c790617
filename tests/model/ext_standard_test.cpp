// General names and the standard extension rows, against texts written from
// the rules for the fixture certificates.
#include "model_support.hpp"

namespace pkiui::test {
namespace {

using Model = ShowCertDetailDlgModel;

// Every GeneralName choice of ext-names' subjectAltName, in stored order.
TEST(GeneralNames, EveryChoiceHasItsLine)
{
    const CertPtr cert = loadCert("ext-names");
    ASSERT_TRUE(cert);
    const ExtPtr ext = findExt(cert.get(), "2.5.29.17");
    const tavik::GeneralNamesPtr names(ext ? tavik_cert_ext_togeneralnames(ext.get()) : nullptr);
    ASSERT_TRUE(names);
    EXPECT_EQ(Model::GetGeneralNames(names.get()),
              (Names{
                  "OtherName:UPN=user@example.com\r\n",
                  "OtherName:Domain Controller GUID={00010203-0405-0607-0809-0A0B0C0D0E0F}\r\n",
                  "OtherName:(Unknown OtherName)=0C 01 78\r\n",
                  "RFC822 Name=names@example.com\r\n",
                  "DNS Name=names.example.com\r\n",
                  "X400Address",
                  "DirectoryName C = CN, O = Tavik Test, CN = Tavik Directory Name",
                  "EDIpartyName\r\n",
                  "URI=http://names.example.com/\r\n",
                  "IP=192.0.2.1\r\n",
                  "IP=2001:db8::1\r\n",
                  "Registered ID=1.2.3.4.5.6\r\n",
              }));
    EXPECT_EQ(Model::GetGeneralNames(nullptr), std::nullopt);
    EXPECT_EQ(Model::GetGeneralName(nullptr), std::nullopt);
}

} // namespace
} // namespace pkiui::test
