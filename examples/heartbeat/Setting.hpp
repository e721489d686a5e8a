#pragma once

#include <brindle/Configuration.hpp>
#include <brindle/Option.hpp>

#include <string>

/// Something to be set: by the command line, else by the configuration file, else by its default.
class Setting : public brindle::Option {
public:
    /// @p longName is the option's name and the file's key.
    Setting(const std::string& longName, int code, const std::string& meaning, const std::string& preset);

    int handleOption() override;

    /// Takes what the file says, unless the command line has spoken. False if that is no good: see errors().
    bool takeFrom(const brindle::Configuration& file);

    std::string value() const { return text; }

protected:
    /// What is wrong with a value; empty if nothing is.
    virtual std::string problemWith(const std::string& candidate) const;

private:
    const std::string key;
    std::string text;
};

/// A whole number within bounds.
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
