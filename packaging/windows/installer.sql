INSERT INTO `Upgrade` (`UpgradeCode`, `VersionMin`, `VersionMax`, `Attributes`, `ActionProperty`) VALUES ('@UPGRADE_CODE@', '0.0.0', '@VERSION@', 768, 'OLDERFOUND')
UPDATE `Property` SET `Value` = 'NEWERFOUND;OLDERFOUND;ENABLELOGFOUND;ENABLELOG;PUBLICDOCUMENTS' WHERE `Property` = 'SecureCustomProperties'
UPDATE `Component` SET `Condition` = 'PUBLICDOCUMENTS' WHERE `Component` = 'LogFolderComponent'
CREATE TABLE `MsiLockPermissionsEx` (`MsiLockPermissionsEx` CHAR(72) NOT NULL, `LockObject` CHAR(72) NOT NULL, `Table` CHAR(32) NOT NULL, `SDDLText` CHAR(0) NOT NULL, `Condition` CHAR(255) PRIMARY KEY `MsiLockPermissionsEx`)
INSERT INTO `MsiLockPermissionsEx` (`MsiLockPermissionsEx`, `LockObject`, `Table`, `SDDLText`) VALUES ('LogFolderPermissions', 'LogFolder', 'CreateFolder', 'D:(A;OICI;GA;;;SY)(A;OICI;GA;;;BA)(A;OICI;0x1301bf;;;BU)')
INSERT INTO `RemoveFile` (`FileKey`, `Component_`, `DirProperty`, `InstallMode`) VALUES ('RemoveMenuFolder', 'RegistryComponent', 'MenuFolder', 2)
INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES ('KeepLogOff', 51, 'ENABLELOG', '0')
INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES ('LogOn', 51, 'ENABLELOG', '1')
INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES ('WarnOfSdk', 51, 'SDKWARNING', 'ZORVIK_HOME is not set. Install the Zorvik SDK, or set it to an SDK folder, before a host loads the adapter.')
INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES ('KeepLogOff', 'ENABLELOGFOUND="#0" AND NOT ENABLELOG', 51)
INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES ('LogOn', 'NOT ENABLELOG', 52)
INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES ('WarnOfSdk', 'NOT %ZORVIK_HOME', 53)
