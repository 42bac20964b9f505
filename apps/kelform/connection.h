// The session of the program: its connection properties, which the back-end itself describes, and
// the data the form works on.
#pragma once

#include <string>
#include <vector>

#include "apps/binding/connector.h"

namespace kel::form {

inline constexpr const wchar_t* kSession = L"Atlas";

// A connection property as the back-end describes it.
struct Property {
    std::wstring name;
    std::wstring description;
    std::wstring value;  // the default at first
};

class Connection {
public:
    // `backEnd` is the number under which a back-end is registered.
    explicit Connection(short backEnd);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // The back-end in words.
    const std::wstring& description() const { return description_; }
    // The properties that are texts; a session asks for them by name when it connects.
    std::vector<Property>& properties() { return properties_; }
    void set(const std::wstring& property, const std::wstring& value);

    // Disconnects and connects anew. False: failure() says why.
    bool Connect();
    void Disconnect() const;
    bool isConnected() const { return session().IsConnected(); }
    const std::wstring& failure() const { return connector_.failure(); }

    const binding::Base& base() const { return base_; }
    const binding::Session& session() const { return connector_.session(); }
    binding::Tools tools() const { return session().Tools(); }

    // Makes sure that the account has the files of the form: what is missing is made from the
    // lists of codes in a folder, if there is one.
    //   throws  std::exception when neither has them
    void Prepare(const std::wstring& listsFolder) const;

private:
    void Describe();

    const short backEnd_;
    std::wstring description_;
    std::vector<Property> properties_;
    const binding::Base base_;
    binding::Connector connector_;
};

}  // namespace kel::form
