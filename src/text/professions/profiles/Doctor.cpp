#include "text/professions/profiles/Profiles.h"

namespace fenlo {

namespace {

constexpr SpokenCommand commands[] = {
    {"subjective", "\n\nSubjective:\n"}, {"objective", "\n\nObjective:\n"},
    {"assessment", "\n\nAssessment:\n"}, {"plan", "\n\nPlan:\n"},
    {"prescription", "\n\nRx:\n"},       {"vitals", "\n\nVitals: BP: /  | HR:  | RR:  | SpO2: % | Temp: °F\n"},
    {"diagnosis", "\n\nDiagnosis: "},    {"history", "\n\nHistory of Present Illness:\n"},
};

constexpr std::string_view terms[] = {
    "Rosuvas",       "Ecosprin",     "Crocin",       "Dolo",          "Shelcal",       "Becosules",
    "Atorvastatin",  "Rosuvastatin", "Metformin",    "Amlodipine",    "Losartan",      "Telmisartan",
    "Omeprazole",    "Pantoprazole", "Azithromycin", "Amoxicillin",   "Ciprofloxacin", "Metoprolol",
    "Clopidogrel",   "Paracetamol",  "Ibuprofen",    "Diclofenac",    "Gabapentin",    "Pregabalin",
    "Levothyroxine", "Glimepiride",  "Sitagliptin",  "Empagliflozin", "Dapagliflozin",
};

} // namespace

constinit const ProfessionProfile doctorProfile{
    .hint = "This is a medical professional dictating clinical notes. Use medical terminology: SOAP, subjective, "
            "objective, assessment, plan, diagnosis, prognosis, mg, mcg, mL, BID, TID, QID, PRN, PO, IV, IM, SC, stat, "
            "q4h, q6h, q8h, QD, HS, AC, PC, NPO, WNL, NAD, HEENT, CVS, CNS, GIT, GUT, MSK, BP, HR, RR, SpO2, BMI, CBC, "
            "LFT, KFT, HbA1c, TSH, ECG, CT, MRI, USG. Common drugs: Atorvastatin, Rosuvastatin, Metformin, Amlodipine, "
            "Losartan, Telmisartan, Omeprazole, Pantoprazole, Azithromycin, Amoxicillin, Ciprofloxacin, Metoprolol, "
            "Aspirin, Clopidogrel, Paracetamol, Ibuprofen, Diclofenac, Gabapentin, Pregabalin, Levothyroxine, Insulin, "
            "Glimepiride, Sitagliptin, Empagliflozin, Dapagliflozin, Tabel, Rosuvas, Ecosprin, Crocin, Dolo, Shelcal, "
            "Becosules.",
    .rewriteAddendum =
        "The user is a medical professional. Preserve all medical terminology, drug names, dosages, ICD codes, and "
        "anatomical terms exactly. Format clinical shorthand naturally (e.g. 'bid' → 'BID', 'prn' → 'PRN', 'q4h' → "
        "'q4h'). If the dictation sounds like a clinical note, structure it with SOAP format when appropriate. Format "
        "prescriptions clearly: Drug Name — Dose — Route — Frequency — Duration. Use standard medical abbreviations: "
        "BP, HR, RR, SpO2, BMI, WNL, NAD. IMPORTANT: Correct likely misheard drug names — e.g. 'where was' or 'row "
        "souvass' likely means 'Rosuvas', 'a tour va stat in' means 'Atorvastatin', 'echo sprin' means 'Ecosprin', "
        "'metal for men' means 'Metformin'. Always prefer the medical interpretation when the context is clinical.",
    .voiceCommands = commands,
    .sample = "Patient presents with a three-day history of productive cough and low-grade fever",
    .featureCards = {{
        {"Clinical language stays clinical",
         "Drug names, doses and ICD codes are kept as you said them, and “echo sprin” is understood as Ecosprin."},
        {"Notes by voice",
         "Say “subjective”, “objective”, “assessment” or “plan” and the heading stands on a line of its own."},
        {"It knows your drugs", "Atorvastatin, Pantoprazole, Telmisartan and more than twenty others from the start. "
                                "Names you correct by voice join them."},
    }},
    .tips = {{
        {"A prescription in one breath",
         "Say drug, dose, route, frequency and duration. They are written in that order, with dashes between."},
        {"Vitals, ready to fill in",
         "Say “vitals” for a line with BP, HR, RR, SpO2 and Temp, and “prescription” to start an Rx."},
        {"Teach it a drug", "When your last word is a misheard name, say “correct that to Ramipril” within five "
                            "seconds. It is replaced, and remembered."},
    }},
    .vocabulary = terms,
};

} // namespace fenlo
