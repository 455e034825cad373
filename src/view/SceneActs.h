#pragma once
// What the pages of scenes have in common, those of this machine and those of a drive: their acts, the dialog of an
// analysis's warnings, and the way to the parameters. A page says what is done with a row; a part of the page, main
// thread.
#include "common/facts/SceneState.h"
#include "common/ui/kit/Acts.h"
#include "view/render/ParameterDialog.h"
#include "view/ResolveRows.h"

class TablePage;

class SceneActs
{
    Q_DECLARE_TR_FUNCTIONS(Resolve)
public:
    struct Deeds {
        std::function<void(qlonglong rkey)> parameters, again;
        std::function<void(const QList<qlonglong> &keys, bool batch)> commit;
    };
    SceneActs(QWidget *page, ResolveRows::Model *model, TablePage *table, const Deeds &deeds);

    ActSpec spec(const char *id, const QString &text, const char *icon, SceneState::Act act, int places) const;
    ActSpec commit() const;     // without its deed
    ActSpec parameters() const; // of what was analysed, and didn't fail
    ActSpec again() const;
    ActSpec remove() const; // without its question and its deed
    ActSpec recommit() const;

    void trigger(const char *id) const; // as the bar's button
    void rowButton(int button, const QModelIndex &index) const;
    QString nameOf(const QStringList &keys) const; // of the first
    static QList<qlonglong> rkeys(const QStringList &keys);
    static bool canSubmit(const db_resolve &res);
    bool mayEdit(const QString &refusal) const; // the parameters; told, where not

    void seeWarnings(const db_resolve &res) const;
    // Reads off the window's thread; of several that were asked for the last one opens.
    using Read = std::function<ParameterDialog::Scene(const db_resolve &res, const CommonConfig &config)>;
    using Then = std::function<void(const ParameterDialog::Scene &scene)>;
    void open(const db_resolve &res, const Read &read, const Then &then);

private:
    QWidget *m_page;
    ResolveRows::Model *m_model;
    TablePage *m_table;
    const Deeds m_deeds;
    int m_asked = 0;
};
