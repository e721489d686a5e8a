#pragma once

#include <brindle/Configuration.hpp>
#include <brindle/Option.hpp>

#include <string>

/// A setting. The command line has precedence over the configuration file, and the file over the default.
class Setting : public brindle::Option {
public:
    /// @p longName is the option's name and the file's key.
    Setting(const std::string& longName, int code, const std::string& meaning, const std::string& preset);

    int handleOption() override;

    /// Takes the value in the file, unless the command line has set one. An invalid value gives false; see errors().
    bool takeFrom(const brindle::Configuration& file);

    std::string value() const { return text; }

protected:
    /// Describes what is wrong with a value. Empty for a valid value.
    virtual std::string problemWith(const std::string& candidate) const;

private:
    const std::string key;
    std::string text;
};

/// A whole number between two bounds.
class NumberSetting : public Setting {
public:
    NumberSetting(const std::string& longName, int code, const std::string& meaning, int least, int most, int preset);

    int number() const;

protected:
    std::string problemWith(const std::string& candidate) const override;

private:
    const int lowest;
    const int highest;
};
