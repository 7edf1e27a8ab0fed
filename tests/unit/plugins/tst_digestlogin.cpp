// SPDX-FileCopyrightText: 2026 The NodeDB authors
// SPDX-License-Identifier: MIT
#include "drivers/ipcamera/digestlogin_p.h"
#include "shared/rows.h"

using namespace tq;

class TestDigestLogin : public QObject
{
    Q_OBJECT

private slots:
    void answersChallenges_data();
    void answersChallenges();
    void keepsTheHeadWhole();
    void choosesAmongChallenges_data();
    void choosesAmongChallenges();
};

void TestDigestLogin::answersChallenges_data()
{
    const tst::Rows<QByteArray, QByteArray, QByteArray> row("challenge", "clientNonce", "response");
    const QByteArray old = "Digest realm=\"testrealm@host.com\", "
                           "nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\"";
    const QByteArray young = "Digest realm=\"http-auth@example.org\", qop=\"auth, auth-int\", "
                             "nonce=\"7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v\", algorithm=";
    const QByteArray client = "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ";
    row("RFC 2069, as corrected", old, {}, "670fd8c2df070c60b045671b8b24ff02");
    row("RFC 2617", old + ", qop=\"auth,auth-int\"", "0a4f113b",
        "6629fae49393a05397450978507c4ef1");
    row("RFC 7616, MD5", young + "MD5", client, "8ca523f5e9506fed4657c9700eebdbec");
    row("RFC 7616, SHA-256", young + "SHA-256", client,
        "753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1");
}

void TestDigestLogin::answersChallenges()
{
    QFETCH(QByteArray, challenge);
    QFETCH(QByteArray, clientNonce);
    QFETCH(QByteArray, response);
    const auto read = digestChallenge({ challenge });
    QVERIFY(read);
    const bool isYoung = challenge.contains("algorithm");
    const UserAndPassword login(QStringLiteral("Mufasa"),
        QLatin1String(isYoung ? "Circle of Life" : "Circle Of Life"), false);
    const QByteArray said =
        digestAuthorization(*read, login, { "GET", "/dir/index.html", clientNonce, 1 });
    QVERIFY2(said.contains("response=\"" + response + '"'), said);
    QCOMPARE(said.contains("nc=00000001"), !clientNonce.isEmpty());
    QVERIFY(!said.contains("Circle"));
}

void TestDigestLogin::keepsTheHeadWhole()
{
    const auto challenge = digestChallenge({ "Digest nonce=a" });
    QVERIFY(challenge);
    const UserAndPassword odd(QStringLiteral("a\"b\\"), QString(), false);
    QVERIFY(digestAuthorization(*challenge, odd, {}).contains("username=\"a\\\"b\\\\\","));
    const UserAndPassword forged(QStringLiteral("a\r\nHost: b"), QString(), false);
    QVERIFY(digestAuthorization(*challenge, forged, {}).isEmpty());
}

void TestDigestLogin::choosesAmongChallenges_data()
{
    const tst::Rows<QList<QByteArray>, QByteArray> row("fields", "nonce");
    row("after another scheme, in one field",
        { "Basic realm=\"a, Digest nonce=b\", digest NONCE = c ,realm=d" }, "c");
    row("the stronger of two",
        { "Digest nonce=\"a\"", "Digest nonce=\"b\", algorithm=SHA-256",
            "Digest nonce=\"c\", algorithm=md5" },
        "b");
    row("Basic", { "Basic realm=\"a\"" }, {});
    row("nothing", { QByteArray(), ", ,", "=", "Digest", "nonce=a" }, {});
    row("other algorithm", { "Digest nonce=a, algorithm=MD5-sess" }, {});
    row("other protection", { "Digest nonce=a, qop=\"auth-int\"" }, {});
    row("quotes without end", { "Digest nonce=\"a\\" }, {});
    row("a forged line", { "Digest nonce=\"a\rX: b\"" }, {});
    row("endless", { "Digest nonce=" + QByteArray(60000, 'a') }, {});
}

void TestDigestLogin::choosesAmongChallenges()
{
    QFETCH(QList<QByteArray>, fields);
    QTEST(digestChallenge(fields).value_or(DigestChallenge()).nonce, "nonce");
}

QTEST_GUILESS_MAIN(TestDigestLogin)

#include "tst_digestlogin.moc"
