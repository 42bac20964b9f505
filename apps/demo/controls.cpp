// What the controls do with what they hear.
#include "apps/demo/controls.h"

#include "apps/demo/report.h"

namespace kel::demo {
void BoundControl::Begin() {
    subscription_ = Listen(field_.raw(), [this](FieldEvent event, const Arguments& arguments) {
        Hear(event, arguments);
    });
}

void BoundControl::Hear(FieldEvent event, const Arguments& arguments) {
    switch (event) {
        case FieldEvent::kRefresh:
            Refresh(arguments);
            break;
        case FieldEvent::kClear:
            log_.Add(name_, L"Clear");
            Show();
            break;
        case FieldEvent::kDeleted:
            log_.Add(name_, L"Deleted " + Printable(arguments.text(0)));
            break;
        case FieldEvent::kReadValid:
            log_.Add(name_,
                     L"ReadValid " + Printable(arguments.text(0)) + L", " +
                         Printable(arguments.flag(1)) + L", " + arguments.text(2));
            Show();
            break;
        case FieldEvent::kConnected:
            log_.Add(name_, L"Connected");
            break;
        case FieldEvent::kDisconnected:
            log_.Add(name_, L"Disconnected");
            break;
        case FieldEvent::kCommonValueChanged:
            log_.Add(name_, L"CommonValueChanged " + Printable(arguments.text(0)));
            CommonValueChanged(arguments.text(0));
            break;
        case FieldEvent::kSessionChanged:
            log_.Add(name_, L"SessionChanged " + Printable(arguments.text(0)));
            break;
        case FieldEvent::kKeyFieldChanged:
            log_.Add(name_, L"KeyFieldChanged " + Printable(arguments.text(0)));
            break;
    }
}

void BoundControl::Refresh(const Arguments& position) {
    const Text author = field_.RefreshControlName();
    log_.Add(name_,
             L"Refresh " + position.text(0) + L", " + position.text(1) + L", " + position.text(2) +
                 (author.empty() ? L" from code" : L" from " + author));
    const long amc = position.number(0);
    // Position 0 is the whole record. The author of the change shows it already.
    if ((amc == 0 || ShowsAttribute(amc)) && author != name_) {
        Show();
    }
}

Text TextBox::Content() const {
    return Printable(item_.ExternalValue());
}

void TextBox::Enter(TextView text) const {
    item_.ExternalValue(0, ToRecord(text));
}

RowList::RowList(EventLog& log, Binding binding, int columns, Field field)
    : BoundControl(log, binding.controlName, std::move(field)), firstAmc_(binding.amc) {
    for (int column = 0; column < columns; ++column) {
        columns_.emplace_back(binding);
        ++binding.amc;
    }
    Begin();
}

bool RowList::ShowsAttribute(long amc) const {
    return amc >= firstAmc_ && amc < firstAmc_ + static_cast<long>(columns_.size());
}

Text RowList::Row(short row) const {
    Text text;
    for (const DictItem& column : columns_) {
        text += (text.empty() ? L"" : L" ") + Readable(column.ExternalValue(row));
    }
    return text;
}

Text RowList::Content() const {
    const short rows = columns_.front().Count();
    if (rows == 0) {
        return L"no rows";
    }
    Text text = std::to_wstring(rows) + (rows == 1 ? L" row: " : L" rows: ") + Row(1);
    if (rows > 1) {
        text += (rows > 2 ? L" ... " : L", ") + Row(rows);
    }
    return text;
}

void Follower::CommonValueChanged(TextView commonName) {
    if (commonName == commonName_) {
        session_.Tools().mvRead(keyId_, session_.CommonValue(commonName), fileName_);
    }
}

}  // namespace kel::demo
