#pragma once
// Internal to records: each record's JSON keys, in sorted order, bound to its
// fields. One list drives both the encoder and the decoder, so the two cannot
// drift apart. `req` marks what a record cannot be read without; `opt` fields
// read as absent (or their default) when missing or of the wrong type;
// `strict` lists fail the record when any element fails.

#include "records/VaultDocument.h"

namespace corvale::fields {

template <class V>
void visit(V& v, RenewalStep& r) {
    v.opt("done", r.done);
    v.req("id", r.id);
    v.req("title", r.title);
}

template <class V>
void visit(V& v, QuickAddHint& r) {
    v.opt("kind", r.kind);
    v.opt("provider", r.provider);
}

template <class V>
void visit(V& v, AccessKeys& r) {
    v.req("enc", r.enc);
    v.req("sign", r.sign);
}

template <class V>
void visit(V& v, HealthConsent& r) {
    v.req("givenAt", r.givenAt);
    v.req("version", r.version);
}

template <class V>
void visit(V& v, WorkEntry& r) {
    v.opt("address", r.address);
    v.opt("deleted", r.deleted);
    v.req("employer", r.employer);
    v.opt("endDate", r.endDate);
    v.req("id", r.id);
    v.opt("role", r.role);
    v.opt("startDate", r.startDate);
    v.opt("updatedAt", r.updatedAt);
}

template <class V>
void visit(V& v, WorkAttestation& r) {
    v.req("historyHash", r.historyHash);
    v.opt("signPublicKey", r.signPublicKey);
    v.opt("signature", r.signature);
    v.req("signedAt", r.signedAt);
    v.req("signedOn", r.signedOn);
    v.req("statement", r.statement);
    v.req("typedName", r.typedName);
}

template <class V>
void visit(V& v, Facility& r) {
    v.opt("contactEmail", r.contactEmail);
    v.opt("deleted", r.deleted);
    v.req("id", r.id);
    v.req("name", r.name);
    v.opt("notes", r.notes);
    v.opt("requiredItems", r.requiredItems);
    v.opt("startDate", r.startDate);
    v.opt("state", r.state);
    v.opt("updatedAt", r.updatedAt);
}

template <class V>
void visit(V& v, Location& r) {
    v.opt("address", r.address);
    v.opt("deleted", r.deleted);
    v.req("id", r.id);
    v.req("name", r.name);
    v.opt("phone", r.phone);
    v.opt("updatedAt", r.updatedAt);
}

template <class V>
void visit(V& v, Person& r) {
    v.opt("accessActivity", r.accessActivity);
    v.opt("addressAs", r.addressAs);
    v.opt("caqhId", r.caqhId);
    v.opt("color", r.color);
    v.req("degree", r.degree);
    v.opt("deleted", r.deleted);
    v.opt("dob", r.dob);
    v.opt("email", r.email);
    v.opt("facilities", r.facilities);
    v.opt("healthConsent", r.healthConsent);
    v.req("id", r.id);
    v.opt("isSelf", r.isSelf);
    v.opt("languages", r.languages);
    v.opt("medicaidId", r.medicaidId);
    v.req("name", r.name);
    v.opt("notes", r.notes);
    v.opt("npi", r.npi);
    v.opt("npiVerifiedAt", r.npiVerifiedAt);
    v.opt("orgAccess", r.orgAccess);
    v.opt("phone", r.phone);
    v.opt("practiceAddress", r.practiceAddress);
    v.opt("practicePhone", r.practicePhone);
    v.opt("ptan", r.ptan);
    v.opt("screenings", r.screenings);
    v.opt("specialty", r.specialty);
    v.opt("taxonomy", r.taxonomy);
    v.opt("updatedAt", r.updatedAt);
    v.opt("workAttestation", r.workAttestation);
    v.opt("workHistory", r.workHistory);
}

template <class V>
void visit(V& v, Credential& r) {
    v.opt("aprnRole", r.aprnRole);
    v.opt("attestedOn", r.attestedOn);
    v.opt("boardStatus", r.boardStatus);
    v.opt("carrier", r.carrier);
    v.opt("category", r.category);
    v.opt("cmeCycleStart", r.cmeCycleStart);
    v.opt("cmeHoursOverride", r.cmeHoursOverride);
    v.opt("coverageType", r.coverageType);
    v.opt("cycleMonths", r.cycleMonths);
    v.opt("deleted", r.deleted);
    v.opt("documentIds", r.documentIds);
    v.opt("expiresOn", r.expiresOn);
    v.opt("fee", r.fee);
    v.opt("homeState", r.homeState);
    v.req("id", r.id);
    v.opt("isCompact", r.isCompact);
    v.opt("issuedOn", r.issuedOn);
    v.opt("issuer", r.issuer);
    v.req("kind", r.kind);
    v.opt("licenseType", r.licenseType);
    v.opt("limits", r.limits);
    v.opt("multistate", r.multistate);
    v.opt("notes", r.notes);
    v.opt("number", r.number);
    v.req("personId", r.personId);
    v.opt("policyNumber", r.policyNumber);
    v.opt("populationFocus", r.populationFocus);
    v.opt("programId", r.programId);
    v.opt("reminderLeadDays", r.reminderLeadDays);
    v.opt("renewalStage", r.renewalStage);
    v.opt("renewalSteps", r.renewalSteps);
    v.opt("renewalURL", r.renewalURL);
    v.opt("schedules", r.schedules);
    v.opt("state", r.state);
    v.opt("status", r.status);
    v.opt("title", r.title);
    v.opt("updatedAt", r.updatedAt);
}

template <class V>
void visit(V& v, CMEActivity& r) {
    v.opt("boardApproved", r.boardApproved);
    v.req("category", r.category);
    v.req("completedOn", r.completedOn);
    v.opt("cost", r.cost);
    v.opt("deleted", r.deleted);
    v.opt("documentIds", r.documentIds);
    v.opt("hours", r.hours);
    v.req("id", r.id);
    v.opt("notes", r.notes);
    v.req("personId", r.personId);
    v.opt("provider", r.provider);
    v.req("title", r.title);
    v.opt("topics", r.topics);
    v.opt("updatedAt", r.updatedAt);
}

template <class V>
void visit(V& v, DocumentRecord& r) {
    v.req("addedAt", r.addedAt);
    v.req("blobHash", r.blobHash);
    v.req("contentType", r.contentType);
    v.opt("deleted", r.deleted);
    v.req("filename", r.filename);
    v.req("id", r.id);
    v.opt("kind", r.kind);
    v.opt("needsReview", r.needsReview);
    v.req("personId", r.personId);
    v.opt("size", r.size);
    v.opt("text", r.text);
    v.opt("updatedAt", r.updatedAt);
}

template <class V>
void visit(V& v, Packet& r) {
    v.req("createdOn", r.createdOn);
    v.opt("deleted", r.deleted);
    v.opt("documentIds", r.documentIds);
    v.opt("facilityId", r.facilityId);
    v.req("id", r.id);
    v.opt("includeProfile", r.includeProfile);
    v.req("name", r.name);
    v.req("personId", r.personId);
    v.opt("updatedAt", r.updatedAt);
}

template <class V>
void visit(V& v, HealthRecord& r) {
    v.opt("deleted", r.deleted);
    v.opt("detail", r.detail);
    v.opt("documentIds", r.documentIds);
    v.opt("expiresOn", r.expiresOn);
    v.req("id", r.id);
    v.req("kind", r.kind);
    v.opt("notes", r.notes);
    v.opt("performedOn", r.performedOn);
    v.req("personId", r.personId);
    v.opt("result", r.result);
    v.opt("title", r.title);
    v.opt("updatedAt", r.updatedAt);
}

template <class V>
void visit(V& v, VaultSettings& r) {
    v.opt("accessKeys", r.accessKeys);
    v.opt("dismissedInsights", r.dismissedInsights);
    v.opt("notApplicable", r.notApplicable);
    v.opt("primaryState", r.primaryState);
    v.opt("profession", r.profession);
    v.opt("quickAddHints", r.quickAddHints);
    v.opt("reminderDays", r.reminderDays);
    v.opt("snoozed", r.snoozed);
    v.opt("updatedAt", r.updatedAt);
}

// Top-level lists are strict: dropping a record there would lose it on the next save.
template <class V>
void visit(V& v, VaultDocument& r) {
    v.strict("cme", r.cme);
    v.strict("credentials", r.credentials);
    v.strict("documents", r.documents);
    v.req("format", r.format);
    v.strict("healthRecords", r.healthRecords);
    v.strict("packets", r.packets);
    v.strict("people", r.people);
    v.opt("settings", r.settings);
    v.req("vaultId", r.vaultId);
    v.opt("version", r.version);
}

}  // namespace corvale::fields
