#include "SyntheticOffice.h"

#include "platform/Crypto.h"

#include <string>

namespace corvale::bench {
namespace {

// Deterministic filler so every run measures the same vault.
std::string recognisedText(int seed) {
    static const char* const kWords[] = {"STATE",   "MEDICAL", "BOARD",    "LICENSE", "PHYSICIAN", "SURGEON",
                                         "EXPIRES", "ISSUED",  "NUMBER",   "CERTIFY", "RENEWAL",   "ACTIVE",
                                         "CONTACT", "HOURS",   "CATEGORY", "CREDIT",  "AMERICAN",  "HEART"};
    std::string text;
    unsigned state = static_cast<unsigned>(seed) * 2654435761u + 1;
    while (text.size() < 700) {
        state = state * 1103515245u + 12345u;
        text += kWords[(state >> 16) % (sizeof kWords / sizeof *kWords)];
        text += (state >> 8) % 9 == 0 ? '\n' : ' ';
    }
    return text;
}

Timestamp at(int seconds) {
    return Timestamp{std::chrono::sys_time<std::chrono::milliseconds>{std::chrono::seconds{1'750'000'000 + seconds}}};
}

}  // namespace

VaultDocument makeOfficeVault() {
    VaultDocument document;
    document.vaultId = "5b1f4a8e-0c2d-4e6f-8a9b-0c1d2e3f4a5b";
    static const char* const kKinds[] = {"stateLicense", "stateLicense", "dea",  "stateCSR",    "boardCertification",
                                         "bls",          "acls",         "pals", "malpractice", "tb"};
    static const char* const kStates[] = {"CA", "TX", "FL", "NY", "PA", "OH", "IL", "GA", "WA", "MA"};
    static const char* const kDegrees[] = {"MD", "NP", "RN", "PA", "DO"};
    static const char* const kTopics[] = {"ethics",       "opioidPrescribing", "painManagement",
                                          "implicitBias", "humanTrafficking",  "medicalErrors",
                                          "childAbuse",   "infectionControl"};
    int serial = 0;
    for (int p = 0; p < kProviders; ++p) {
        Person person;
        person.id = newUUID();
        person.updatedAt = at(p);
        person.name = "Provider " + std::to_string(p);
        person.degree = kDegrees[p % 5];
        person.npi = std::to_string(1000000000 + p);
        person.email = "provider" + std::to_string(p) + "@clinic.example";
        person.specialty = "Family Medicine";
        document.people.push_back(person);

        for (int c = 0; c < kCredentialsEach; ++c) {
            Credential credential;
            credential.id = newUUID();
            credential.updatedAt = at(++serial);
            credential.personId = person.id;
            credential.kind = kKinds[c];
            credential.state = kStates[(p + c) % 10];
            credential.number = "A" + std::to_string(100000 + serial);
            credential.issuedOn = Day{2024, 1 + c, 1 + p % 28};
            credential.expiresOn = Day{2026 + (p + c) % 2, 1 + c, 1 + p % 28};
            if (c == 1) credential.cmeCycleStart = "2019-0" + std::to_string(1 + p % 9);
            credential.status = "Active";
            credential.notes = "Renew through the board portal.";
            credential.documentIds = {newUUID()};
            document.credentials.push_back(credential);
        }
        for (int m = 0; m < kCMEEach; ++m) {
            CMEActivity cme;
            cme.id = newUUID();
            cme.updatedAt = at(++serial);
            cme.personId = person.id;
            cme.title = "Grand rounds: topic " + std::to_string(m);
            cme.provider = "County Medical Society";
            cme.completedOn = Day{2025, 1 + m % 12, 1 + m % 28};
            cme.hours = 0.5 * (1 + m % 4);
            cme.category = m % 2 ? "cat1" : "cat2";
            cme.topics = {kTopics[(p + m) % 8]};
            if (m % 5 == 0) cme.boardApproved = true;
            document.cme.push_back(cme);
        }
        for (int d = 0; d < kDocumentsEach; ++d) {
            DocumentRecord record;
            record.id = newUUID();
            record.updatedAt = at(++serial);
            record.personId = person.id;
            record.filename = "scan-" + std::to_string(d) + ".pdf";
            record.contentType = "application/pdf";
            record.blobHash = crypto::hexLower(crypto::sha256(asBytes(record.id)));
            record.size = 200000 + d;
            record.addedAt = at(serial);
            record.kind = "license";
            record.text = recognisedText(serial);
            document.documents.push_back(record);
        }
    }
    return document;
}

}  // namespace corvale::bench
