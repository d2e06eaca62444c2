// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The user accounts file: merge rules, template defaults, the written bytes and bad files.

#include "corvane/user_store.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "sandbox.h"

namespace corvane {
namespace {

using testing::readFile;
using testing::writeFile;

char const kUsers[] = "/etc/corvane/users.xml";
char const kOther[] = "/etc/corvane/more.xml";
char const kA[] = "<users><user><name>a</name><uid>5</uid></user></users>";

TEST(UserStoreTest, MergesAccountsAndRefusesBadFilesWithoutChange) {
  struct {
    char const* first;
    char const* second;  // null: missing
    bool secondReads;
    char const* expected;  // "name:uid " of every account in order, then "|" and the highest uid
  } const cases[] = {
      {"<users><user><name>a</name><uid>7</uid></user><user><name>a</name><uid>2</uid></user>"
       "</users>",
       "<users><user><name>b</name><uid>3</uid></user></users>", true, "a:2 b:3 |7"},
      {"<users><user><uid>900</uid></user><user><name>x</name></user></users>",
       "<users><user><name>x</name><uid>12abc</uid></user></users>", true, "x:12abc |900"},
      // Other roots, children and namespaced names are skipped.
      {"<users>t<template><name>t</name></template><q:user xmlns:q='urn:q'><name>q</name>"
       "</q:user><user><users/><q:name xmlns:q='urn:q'>z</q:name><name>n</name></user></users>",
       "<user><name>b</name><uid>9</uid></user>", false, "n: |0"},
      // Files that are refused leave the store as it was.
      {kA, nullptr, false, "a:5 |5"},
      {kA, "<users><user><name>n</name><uid>99</uid></user>", false, "a:5 |5"},
      {kA, "<q:users xmlns:q=\"urn:q\"><user><name>n</name><uid>99</uid></user></q:users>", false,
       "a:5 |5"},
  };
  int descriptors = testing::openDescriptorCount();
  for (auto const& c : cases) {
    writeFile(kUsers, c.first);
    writeFile(kOther, c.second);
    user::Store store;
    EXPECT_TRUE(store.read_users(kUsers)) << c.first;
    EXPECT_EQ(c.secondReads, store.read_users(kOther)) << c.first;
    std::string summary;
    for (auto const& account : store.accounts()) {
      summary += account.first + ":" + account.second->get("uid") + " ";
    }
    EXPECT_EQ(c.expected, summary + "|" + std::to_string(store.highestUid())) << c.first;
  }
  EXPECT_EQ(descriptors, testing::openDescriptorCount());
  user record;  // identifiers outside the list are ignored
  for (int id : {0, user::kTemplate + 1, int{user::kTemplate}}) record.set(id, "t");
  EXPECT_EQ((std::map<std::string, std::string>{{"template", "t"}}), record.mValues);
}

TEST(UserStoreTest, WritesOneSortedLineRaw) {
  writeFile(kUsers,
            "<?xml version=\"1.0\"?>\n<users>\n <user>\n  <uid>1001</uid>\n  <name>zed</name>\n"
            "  <description> two  words </description><bogus>x</bogus><home></home>\n </user>\n"
            " <user><password>$6$a</password><name>adm</name><nodelete>true</nodelete></user>\n"
            "</users>\n");
  user::Store store;
  ASSERT_TRUE(store.read_users(kUsers) && store.write(kOther));
  EXPECT_EQ(
      "<users><user><name>adm</name><nodelete>true</nodelete><password>$6$a</password></user>"
      "<user><description> two  words </description><home></home><name>zed</name><uid>1001</uid>"
      "</user></users>",
      readFile(kOther));

  // Unescaped on purpose: the value goes out raw and the file no longer reads.
  user::Store raw;
  writeFile(kUsers, "<users><user><name>a&amp;b</name></user></users>");
  ASSERT_TRUE(raw.read_users(kUsers) && raw.write(kOther));
  EXPECT_EQ("<users><user><name>a&b</name></user></users>", readFile(kOther));
  EXPECT_FALSE(raw.read_users(kOther));
  EXPECT_TRUE(user::Store().write(kOther));
  EXPECT_EQ("<users></users>", readFile(kOther));
  EXPECT_FALSE(raw.write("/etc/corvane/missing/users.xml"));
  EXPECT_EQ("", readFile("/etc/corvane/missing/users.xml"));
}

TEST(UserStoreTest, TemplateDefaultsAndFirstOnly) {
  struct {
    char const* text;
    char const* expected;  // home|shell|description|name
  } const cases[] = {
      {"<users><template><shell>/bin/bash</shell><name>x</name></template></users>",
       "/|/bin/bash|Administrator|"},
      {"<users><user/><template><home> /h </home><description></description></template>"
       "<template><shell>/bin/no</shell></template></users>",
       " /h |/bin/cli||"},
  };
  for (auto const& c : cases) {
    writeFile(kUsers, c.text);
    user::Store store;
    ASSERT_TRUE(store.read_template(kUsers) && store.getTemplate()) << c.text;
    user const& t = *store.getTemplate();
    EXPECT_EQ(c.expected, t.get("home") + "|" + t.get("shell") + "|" + t.get("description") + "|" +
                              t.get("name"))
        << c.text;
    EXPECT_TRUE(store.accounts().empty());  // a template file adds no account
  }
  EXPECT_FALSE(user::Store().read_template("/etc/corvane/none.xml"));
}

}  // namespace
}  // namespace corvane
