#include "text/professions/profiles/Profiles.h"

namespace fenlo {

namespace {

constexpr SpokenCommand commands[] = {
    {"hypothesis", "\n\n**Hypothesis:** "},
    {"finding", "\n\n**Finding:** "},
    {"methodology", "\n\n**Methodology:**\n"},
    {"results", "\n\n**Results:**\n"},
    {"code block", "\n```python\n"},
    {"end block", "\n```\n"},
    {"note", "# NOTE: "},
    {"to do", "# TODO: "},
};

constexpr std::string_view terms[] = {
    "DataFrame",
    "NumPy",
    "pandas",
    "scikit-learn",
    "TensorFlow",
    "PyTorch",
    "Jupyter",
    "matplotlib",
    "seaborn",
    "BigQuery",
    "Spark",
    "Airflow",
    "regression",
    "classification",
    "clustering",
    "overfitting",
    "cross-validation",
    "precision",
    "recall",
    "F1",
    "AUC",
    "ROC",
    "p-value",
    "EDA",
    "ETL",
};

} // namespace

constinit const ProfessionProfile dataScientistProfile{
    .hint =
        "This is a data scientist or analyst. Use data terminology: DataFrame, NumPy, pandas, scikit-learn, "
        "TensorFlow, PyTorch, regression, classification, clustering, neural network, epoch, batch size, learning "
        "rate, loss function, gradient descent, overfitting, cross-validation, precision, recall, F1, AUC, ROC, "
        "p-value, confidence interval, hypothesis test, EDA, ETL, SQL, BigQuery, Spark, Jupyter, matplotlib, seaborn.",
    .rewriteAddendum =
        "The user is a data scientist. Preserve all technical terms, library names, statistical terminology, and "
        "mathematical notation. Keep variable names, function names, and code references exact (e.g. df.groupby, "
        "model.fit, np.array). Convert spoken math: 'squared' → '²', 'to the power of' → '^', 'times' → '×' in prose "
        "or '*' in code context. Preserve Greek letters when spoken: 'alpha' → 'α', 'beta' → 'β', 'sigma' → 'σ' in "
        "statistical context. Format findings clearly — lead with the insight, then the evidence.",
    .voiceCommands = commands,
    .sample =
        "The model shows a 12 percent improvement in F1 score after tuning the learning rate and adding dropout layers",
    .featureCards = {{
        {"Notation instead of words",
         "In statistics alpha becomes α and squared becomes ². Names such as df.groupby stay exact."},
        {"Reports by voice",
         "Say “hypothesis”, “methodology”, “results” or “finding” and the heading appears in bold."},
        {"It knows your libraries",
         "NumPy, scikit-learn, PyTorch, BigQuery and others from the start. Names you correct by voice join them."},
    }},
    .tips = {{
        {"Say it in any order", "Findings are laid out with the insight first and the evidence after it."},
        {"From prose to Python", "Say “code block” to open a Python fence and “end block” to close it. “note” and “to "
                                 "do” start a comment with #."},
        {"Teach it a data set", "When your last word is a misheard name, say “correct that to Zephyr” within five "
                                "seconds. It is replaced, and remembered."},
    }},
    .vocabulary = terms,
};

} // namespace fenlo
