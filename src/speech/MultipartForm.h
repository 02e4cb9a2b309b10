#pragma once

#include <string>
#include <string_view>

namespace fenlo {

/// The body of a form with a file in it, under a random boundary.
class MultipartForm {
public:
    MultipartForm();

    /// The form's media type, for the header.
    std::string contentType() const;

    void addFile(std::string_view name, std::string_view fileName, std::string_view type, std::string_view bytes);
    void addField(std::string_view name, std::string_view value);

    /// The whole body. The form is empty afterwards.
    std::string finish();

private:
    void open(std::string_view name);

    const std::string m_boundary;
    std::string m_body;
};

} // namespace fenlo
